#include <cstring>

#include "platform/ffmpeg/FfmpegMediaReaderFactory.h"
#include "support/FakeMediaReader.h"
#include "support/SampleMedia.h"

namespace quillmere {
namespace {

// The same file behind the fake and behind the real reader: 2 channels, 48 kHz, 16-bit, a slow ramp.
struct Side {
  virtual ~Side() = default;
  virtual MediaReaderFactory& readers() = 0;
  virtual QString file() = 0;
};

constexpr qint64 frameTotal = 10000;
float ramp(qint64 frame) {
  return float(frame) / 20000;
}

struct FakeSide : Side {
  FakeSide() {
    FakeMediaFile& made = factory.files[file()];
    made.frames = frameTotal;
    made.nominalFrames = frameTotal;
    made.duration = frameTotal / 48000.0;
    made.sample = &ramp;
  }
  MediaReaderFactory& readers() override { return factory; }
  QString file() override { return "/music/ramp.wav"; }
  FakeMediaReaderFactory factory;
};

struct RealSide : Side {
  MediaReaderFactory& readers() override { return factory; }
  QString file() override {
    return media.write("ramp.wav",
                       SampleMedia::wav(48000, 2, frameTotal, [](qint64 frame, int) { return double(ramp(frame)); }));
  }
  SampleMedia media;
  FfmpegLog log{Logging()};
  FfmpegMediaReaderFactory factory{log};
};

using Output = MediaReaderFactory::Output;

class MediaReaderContract : public ::testing::TestWithParam<std::tuple<const char*, Output>> {
 protected:
  void SetUp() override {
    if (std::string_view(std::get<0>(GetParam())) == "fake")
      side = std::make_unique<FakeSide>();
    else
      side = std::make_unique<RealSide>();
  }
  std::unique_ptr<MediaReader> open() {
    auto reader = side->readers().open(side->file(), std::get<1>(GetParam()));
    EXPECT_TRUE(reader);
    return reader ? std::move(reader).value() : nullptr;
  }
  std::unique_ptr<Side> side;
};

TEST_P(MediaReaderContract, givesEveryFrameOnceInOrderWhateverIsAskedFor) {
  for (const qint64 most : {qint64(1), qint64(7), qint64(1000), qint64(1) << 40}) {
    const auto reader = open();
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->format(), (AudioStreamFormat{48000, 2, AudioStreamFormat::SampleKind::signed16, false, 0}));
    EXPECT_EQ(reader->trackDescription().channelCount, 2);
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
        std::int16_t pair[2];
        std::memcpy(pair, block->planes[0] + i * 4, 4);
        ASSERT_NEAR(pair[0], ramp(position + i) * 32767, 1) << position + i;
        ASSERT_EQ(pair[0], pair[1]);
      }
      position += block->frameCount;
    }
    EXPECT_EQ(position, frameTotal);
    const auto after = reader->read(most);  // the end stays the end
    ASSERT_TRUE(after);
    EXPECT_EQ(after->frameCount, 0);
  }
}

TEST_P(MediaReaderContract, missingFilesAndLengths) {
  const auto missing = side->readers().open("/no/such/file.wav", std::get<1>(GetParam()));
  ASSERT_FALSE(missing);
  EXPECT_EQ(missing.error().kind, MediaError::Kind::cannotOpen);
  EXPECT_FALSE(missing.error().description.isEmpty());

  const std::atomic<bool> stop{false};
  const auto length = side->readers().durationSeconds(side->file(), stop);
  ASSERT_TRUE(length);
  EXPECT_NEAR(*length, frameTotal / 48000.0, 1e-4);
  EXPECT_FALSE(side->readers().durationSeconds("/no/such/file.wav", stop));
}

INSTANTIATE_TEST_SUITE_P(Sides, MediaReaderContract,
                         ::testing::Combine(::testing::Values("fake", "real"),
                                            ::testing::Values(Output::native, Output::signed16Interleaved)),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param)) +
                                  (std::get<1>(test.param) == Output::native ? "Native" : "Signed16");
                         });

}  // namespace
}  // namespace quillmere
