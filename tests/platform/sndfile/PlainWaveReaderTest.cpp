#include "platform/sndfile/PlainWaveReader.h"

#include <sndfile.h>

#include "audio/PlainResampler.h"
#include "support/SampleMedia.h"

namespace quillmere {
namespace {

TEST(PlainWaveReaderTest, LeavesEverythingElseToTheMediaLibraries) {
  SampleMedia media;
  struct Case {
    int format, rate, channels, frames;
  };
  for (const Case& c :
       {Case{SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 1, 100}, Case{SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16000, 2, 100},
        Case{SF_FORMAT_WAV | SF_FORMAT_FLOAT, 16000, 1, 100}, Case{SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16000, 1, 0},
        Case{SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 16000, 1, 100}}) {
    const QString path = media.path("x.wav");
    SF_INFO info{};
    info.format = c.format;
    info.samplerate = c.rate;
    info.channels = c.channels;
    SNDFILE* file = sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &info);
    const std::vector<short> samples(size_t(c.frames * c.channels), 1000);
    sf_writef_short(file, samples.data(), c.frames);
    sf_close(file);
    EXPECT_FALSE(PlainWaveReader::open(path)) << c.rate << c.format;
  }
  EXPECT_FALSE(PlainWaveReader::open(media.path("missing.wav")));
  EXPECT_FALSE(PlainWaveReader::open(media.path(".")));
  EXPECT_FALSE(PlainWaveReader::open(media.write("text.wav", "RIFF and nothing else")));
}

TEST(PlainWaveReaderTest, ReadsWhatACutFileStillHolds) {
  SampleMedia media;
  const QByteArray whole = SampleMedia::wav(16000, 1, 2500, SampleMedia::tone(440, 16000));
  const auto reader = PlainWaveReader::open(media.write("cut.wav", whole.left(44 + 2000)));
  ASSERT_TRUE(reader);
  EXPECT_DOUBLE_EQ(*reader->durationSeconds(), 1000 / 16000.0);
  qint64 frames = 0;
  for (auto block = reader->read(300); block && block->frameCount > 0; block = reader->read(300))
    frames += block->frameCount;
  EXPECT_EQ(frames, 1000);
}

TEST(PlainResamplerTest, TakesOnlySourcesThatNeedNoResamplingAndLeavesThemAsTheyAre) {
  using Kind = AudioStreamFormat::SampleKind;
  EXPECT_TRUE(PlainResampler::create({16000, 1, Kind::float32, true, 0}, 16000));
  EXPECT_FALSE(PlainResampler::create({16000, 2, Kind::signed16, false, 0}, 16000));
  EXPECT_FALSE(PlainResampler::create({48000, 1, Kind::signed16, false, 0}, 16000));
  EXPECT_FALSE(PlainResampler::create({16000, 1, Kind::unsigned8, false, 0}, 16000));
  const AudioStreamFormat plain{16000, 1, Kind::signed16, false, 0};
  const auto resampler = PlainResampler::create(plain, 16000);
  ASSERT_TRUE(resampler);
  const std::int16_t samples[] = {-32768, -1, 0, 12345, 32767};
  const auto* const plane = reinterpret_cast<const std::byte*>(samples);
  float out[5] = {};
  EXPECT_GE(resampler->outputBound(5), 5);
  EXPECT_EQ(*resampler->convert(AudioBlock{plain, {&plane, 1}, 5}, out), 5);
  for (size_t i = 0; i < 5; ++i) EXPECT_EQ(out[i], float(samples[i]) / 32768.F) << i;
}

TEST(PlainWaveReaderTest, TellsOfAFileThatHoldsLessThanItStates) {
  SampleMedia media;
  const QByteArray whole = SampleMedia::wav(16000, 1, 32000, SampleMedia::tone(440, 16000));
  const auto cut = PlainWaveReader::open(media.write("cut.wav", whole.left(44 + 32000)));
  ASSERT_TRUE(cut);
  EXPECT_EQ(cut->durationSeconds().error().kind, MediaError::Kind::incomplete);
  // What programs state that write into a pipe is no length.
  QByteArray piped = whole;
  qToLittleEndian<quint32>(0x7fffffd8, piped.data() + 40);
  const auto reader = PlainWaveReader::open(media.write("piped.wav", piped));
  ASSERT_TRUE(reader);
  EXPECT_DOUBLE_EQ(*reader->durationSeconds(), 2.0);
}

// As a disk that goes away or breaks.
TEST(PlainWaveReaderTest, AFileThatEndsWhileItIsReadIsAnError) {
  SampleMedia media;
  const QString path = media.write("x.wav", SampleMedia::wav(16000, 1, 32000, SampleMedia::tone(440, 16000)));
  const auto reader = PlainWaveReader::open(path);
  ASSERT_TRUE(reader && reader->read(1000));
  ASSERT_TRUE(QFile::resize(path, 44 + 20000));
  auto block = reader->read(1000);
  for (int reads = 0; block && block->frameCount > 0 && reads < 40; ++reads) block = reader->read(1000);
  ASSERT_FALSE(block);
  EXPECT_EQ(block.error().kind, MediaError::Kind::incomplete);
  EXPECT_EQ(reader->read(1000)->frameCount, 0);
}

}  // namespace
}  // namespace quillmere
