#include <cstring>

#include "contract/Sides.h"
#include "platform/ffmpeg/FfmpegMediaReaderFactory.h"
#include "platform/sndfile/PlainWaveReader.h"
#include "support/FakeMediaReader.h"
#include "support/SampleMedia.h"

namespace quillmere {
namespace {

using Output = MediaReaderFactory::Output;

// Every side has the same file of 10000 frames, in 16-bit integers: a slow ramp.
constexpr qint64 frameTotal = 10000;
float ramp(qint64 frame) {
  return float(frame) / 20000;
}

template <typename Derived>
struct FactorySide {
  std::unique_ptr<MediaReader> open(Output output) {
    auto& self = static_cast<Derived&>(*this);
    auto reader = self.factory.open(self.path, output);
    return reader ? std::move(reader).value() : nullptr;
  }
  static constexpr AudioStreamFormat format{48000, 2, AudioStreamFormat::SampleKind::signed16, false, 0};
};

struct FakeSide : FactorySide<FakeSide> {
  FakeSide() {
    FakeMediaFile& made = factory.files[path];
    made.frames = frameTotal;
    made.nominalFrames = frameTotal;
    made.duration = frameTotal / 48000.0;
    made.sample = &ramp;
    made.canSeek = true;
  }
  const QString path = "/music/ramp.wav";
  FakeMediaReaderFactory factory;
};

QString rampFile(const SampleMedia& media, const AudioStreamFormat& format) {
  return media.write("ramp.wav", SampleMedia::wav(int(format.sampleRate), format.channelCount, frameTotal,
                                                  [](qint64 frame, int) { return double(ramp(frame)); }));
}

struct FfmpegSide : FactorySide<FfmpegSide> {
  SampleMedia media;
  const QString path = rampFile(media, format);
  FfmpegLog log{Logging()};
  FfmpegMediaReaderFactory factory{log};
};

// The short way for plain recordings.
struct PlainSide {
  std::unique_ptr<MediaReader> open(Output) { return PlainWaveReader::open(path); }
  static constexpr AudioStreamFormat format{16000, 1, AudioStreamFormat::SampleKind::signed16, false, 0};
  SampleMedia media;
  const QString path = rampFile(media, format);
};

template <typename Side>
class MediaReaderContract : public testing::Test, public Side {
 protected:
  // Value of a channel in the block.
  static int valueAt(const AudioBlock& block, qint64 frame, int channel) {
    std::int16_t value = 0;
    std::memcpy(&value, block.planes[0] + (frame * Side::format.channelCount + channel) * 2, 2);
    return value;
  }
};
using Sides = testing::Types<FakeSide, FfmpegSide, PlainSide>;
TYPED_TEST_SUITE(MediaReaderContract, Sides);

TYPED_TEST(MediaReaderContract, GivesEveryFrameOnceInOrderWhateverIsAskedFor) {
  for (const Output output : {Output::native, Output::signed16Interleaved}) {
    for (const qint64 most : {qint64(1), qint64(7), qint64(1000), qint64(1) << 40}) {
      const auto reader = this->open(output);
      ASSERT_TRUE(reader);
      EXPECT_EQ(reader->format(), this->format);
      EXPECT_EQ(reader->trackDescription().channelCount, this->format.channelCount);
      EXPECT_EQ(reader->nominalFrames(), frameTotal);
      qint64 position = 0;
      for (;;) {
        const auto block = reader->read(most);
        ASSERT_TRUE(block);
        if (block->frameCount == 0) break;
        ASSERT_LE(block->frameCount, most);
        ASSERT_EQ(block->format, reader->format());
        ASSERT_EQ(block->planes.size(), 1u);
        for (qint64 i = 0; i < block->frameCount; ++i) {
          for (int channel = 0; channel < this->format.channelCount; ++channel) {
            ASSERT_NEAR(this->valueAt(*block, i, channel), ramp(position + i) * 32767, 1) << position + i;
          }
        }
        position += block->frameCount;
      }
      EXPECT_EQ(position, frameTotal);
      const auto after = reader->read(most);  // the end stays the end
      ASSERT_TRUE(after);
      EXPECT_EQ(after->frameCount, 0);
    }
  }
}

TYPED_TEST(MediaReaderContract, GoesToAPlaceAndBackFromTheEnd) {
  const auto reader = this->open(Output::native);
  ASSERT_TRUE(reader);
  while (reader->read(4096)->frameCount > 0) continue;
  for (const qint64 frame : {7000, 100, 9000, 0}) {
    ASSERT_TRUE(reader->seek(frame));
    const auto block = reader->read(10);
    ASSERT_TRUE(block && block->frameCount > 0) << frame;
    const double place = this->valueAt(*block, 0, 0) / 32767.0 * 20000;
    EXPECT_LE(place, double(frame) + 1);
    EXPECT_GE(place, double(frame) - 2048);
  }
}

template <typename Side>
class MediaReaderFactoryContract : public testing::Test, public Side {};
using FactorySides = testing::Types<FakeSide, FfmpegSide>;
TYPED_TEST_SUITE(MediaReaderFactoryContract, FactorySides, SideNames);

TYPED_TEST(MediaReaderFactoryContract, MissingFilesAndLengths) {
  const auto missing = this->factory.open("/no/such/file.wav", Output::native);
  ASSERT_FALSE(missing);
  EXPECT_EQ(missing.error().kind, MediaError::Kind::cannotOpen);
  EXPECT_FALSE(missing.error().description.isEmpty());

  const std::atomic<bool> stop{false};
  const auto length = this->factory.durationSeconds(this->path, stop);
  ASSERT_TRUE(length);
  EXPECT_NEAR(*length, frameTotal / 48000.0, 1e-4);
  EXPECT_FALSE(this->factory.durationSeconds("/no/such/file.wav", stop));
}

}  // namespace
}  // namespace quillmere
