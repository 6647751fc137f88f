#include <cstring>

#include "platform/ffmpeg/FfmpegFixture.h"
#include "platform/sndfile/PlainWaveReader.h"
#include "support/SampleMedia.h"

namespace quillmere {
namespace {

class SeekingTest : public FfmpegFixture {
 protected:
  // Amplitude of the next 4096 frames, first channel.
  static double loudness(MediaReader& reader) {
    double most = 0;
    for (qint64 read = 0; read < 4096;) {
      const auto block = reader.read(4096 - read);
      if (!block || block->frameCount == 0) break;
      const AudioStreamFormat& format = block->format;
      const int step = bytesPerSample(format.kind) * (format.isPlanar ? 1 : format.channelCount);
      for (qint64 i = 0; i < block->frameCount; ++i) {
        if (format.kind == AudioStreamFormat::SampleKind::float32) {
          float value = 0;
          std::memcpy(&value, block->planes[0] + i * step, sizeof value);
          most = std::max(most, std::abs(double(value)));
        } else {
          std::int16_t value = 0;
          std::memcpy(&value, block->planes[0] + i * step, sizeof value);
          most = std::max(most, std::abs(value / 32768.0));
        }
      }
      read += block->frameCount;
    }
    return most;
  }
  // Ten seconds of silence, then ten of a tone.
  static void expectPlaces(MediaReader& reader, double rate, const char* name) {
    for (const double second : {15.0, 5.0, 12.0, 0.0}) {
      EXPECT_TRUE(reader.seek(qint64(second * rate))) << name;
      EXPECT_NEAR(loudness(reader), second > 10 ? 0.5 : 0.0, 0.2) << name << " at " << second;
    }
    // From the end back again.
    while (true) {
      const auto block = reader.read(65536);
      if (!block || block->frameCount == 0) break;
    }
    EXPECT_TRUE(reader.seek(qint64(15 * rate))) << name;
    EXPECT_NEAR(loudness(reader), 0.5, 0.2) << name;
  }
  static SampleMedia::Wave wave(double rate) {
    return [rate](qint64 frame, int) {
      return double(frame) < 10 * rate ? 0.0 : 0.5 * std::sin(2 * M_PI * 440 * double(frame) / rate);
    };
  }
};

TEST_F(SeekingTest, GoesToAPlaceInEveryFormat) {
  media.write(QStringLiteral("sound.wav"), SampleMedia::wav(44100, 2, 20 * 44100, wave(44100)));
  for (const char* name : {"sound.wav", "sound.m4a", "sound.mp3", "sound.flac"}) {
    const QString file = QString::fromLatin1(name);
    if (file != QLatin1String("sound.wav") && !media.ffmpeg({QStringLiteral("-i"), QStringLiteral("sound.wav"), file}))
      continue;  // the program lacks that encoder
    auto reader = readers.open(media.path(file), MediaReaderFactory::Output::native);
    ASSERT_TRUE(reader) << name;
    expectPlaces(**reader, 44100, name);
  }
  const auto plain = PlainWaveReader::open(
      media.write(QStringLiteral("plain.wav"), SampleMedia::wav(16000, 1, 20 * 16000, wave(16000))));
  ASSERT_TRUE(plain);
  expectPlaces(*plain, 16000, "plain.wav");
}

}  // namespace
}  // namespace quillmere
