#include "platform/sndfile/PlainWaveReader.h"

#include <sndfile.h>

#include <QFile>
#include <QTemporaryDir>

#include "audio/PlainResampler.h"

namespace quillmere {
namespace {

class PlainWaveReaderTest : public ::testing::Test {
 protected:
  QString write(const char* name, int format, int rate, int channels, int frames) {
    const QString path = folder.filePath(QString::fromLatin1(name));
    SF_INFO info{};
    info.format = format;
    info.samplerate = rate;
    info.channels = channels;
    SNDFILE* file = sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &info);
    std::vector<short> samples(size_t(frames * channels));
    for (size_t i = 0; i < samples.size(); ++i) samples[i] = short(i * 7 - 30000);
    sf_writef_short(file, samples.data(), frames);
    sf_close(file);
    return path;
  }
  QTemporaryDir folder;
};

TEST_F(PlainWaveReaderTest, GivesEverySampleAsItIs) {
  const auto reader = PlainWaveReader::open(write("plain.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16000, 1, 2500));
  ASSERT_TRUE(reader);
  EXPECT_EQ(reader->nominalFrames(), 2500);
  EXPECT_DOUBLE_EQ(reader->durationSeconds(), 2500 / 16000.0);
  const auto resampler = PlainResampler::create(reader->format(), 16000);
  ASSERT_TRUE(resampler);
  std::vector<float> all;
  for (;;) {
    const auto block = reader->read(1000);
    ASSERT_TRUE(block);
    if (block->frameCount == 0) break;
    std::vector<float> out(size_t(resampler->outputBound(block->frameCount)));
    const auto count = resampler->convert(*block, out);
    ASSERT_TRUE(count);
    all.insert(all.end(), out.begin(), out.begin() + *count);
  }
  ASSERT_EQ(all.size(), 2500u);
  for (size_t i = 0; i < all.size(); ++i) ASSERT_EQ(all[i], float(short(i * 7 - 30000)) / 32768.f) << i;
}

TEST_F(PlainWaveReaderTest, LeavesEverythingElseToTheMediaLibraries) {
  struct Case {
    int format, rate, channels, frames;
  };
  for (const Case& c :
       {Case{SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 1, 100}, Case{SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16000, 2, 100},
        Case{SF_FORMAT_WAV | SF_FORMAT_FLOAT, 16000, 1, 100}, Case{SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16000, 1, 0},
        Case{SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 16000, 1, 100}})
    EXPECT_FALSE(PlainWaveReader::open(write("x.wav", c.format, c.rate, c.channels, c.frames))) << c.rate << c.format;
  EXPECT_FALSE(PlainWaveReader::open(folder.filePath(QStringLiteral("missing.wav"))));
  EXPECT_FALSE(PlainWaveReader::open(folder.path()));
  QFile text(folder.filePath(QStringLiteral("text.wav")));
  ASSERT_TRUE(text.open(QIODevice::WriteOnly) && text.write("RIFF and nothing else") > 0);
  text.close();
  EXPECT_FALSE(PlainWaveReader::open(text.fileName()));
}

TEST_F(PlainWaveReaderTest, ReadsWhatACutFileStillHolds) {
  const QString path = write("cut.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16000, 1, 2500);
  ASSERT_TRUE(QFile::resize(path, 44 + 2000));
  const auto reader = PlainWaveReader::open(path);
  ASSERT_TRUE(reader);
  qint64 frames = 0;
  for (auto block = reader->read(300); block && block->frameCount > 0; block = reader->read(300))
    frames += block->frameCount;
  EXPECT_EQ(frames, 1000);
}

TEST(PlainResampler, TakesOnlySourcesThatNeedNoResampling) {
  using Kind = AudioStreamFormat::SampleKind;
  EXPECT_TRUE(PlainResampler::create({16000, 1, Kind::float32, true, 0}, 16000));
  EXPECT_FALSE(PlainResampler::create({16000, 2, Kind::signed16, false, 0}, 16000));
  EXPECT_FALSE(PlainResampler::create({48000, 1, Kind::signed16, false, 0}, 16000));
  EXPECT_FALSE(PlainResampler::create({16000, 1, Kind::unsigned8, false, 0}, 16000));
}

}  // namespace
}  // namespace quillmere
