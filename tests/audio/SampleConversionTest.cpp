#include "audio/SampleConversion.h"

#include <atomic>

#include "support/FakeAudioResampler.h"
#include "support/FakeMediaReader.h"

namespace quillmere {
namespace {

constexpr AudioStreamFormat optimal{16000, 1, AudioStreamFormat::SampleKind::float32, false, 0};

class SampleConversionTest : public ::testing::Test {
 protected:
  const QString path = QStringLiteral("/music/a b.wav");
  FakeMediaReaderFactory readers;
  FakeAudioResamplerFactory resamplers;
  ConversionOptions options{32768, 16000, false, {}};
  std::atomic<bool> stop{false};

  FakeMediaFile& file() { return readers.files[path]; }
  SampleConversion::Outcome convert() {
    return SampleConversion(readers, resamplers, Logger(), path, options).run(stop);
  }
};

TEST_F(SampleConversionTest, OnlyTheWholeFormatTakesTheFastPath) {
  using Samples = AudioStreamFormat::SampleKind;
  for (const AudioStreamFormat& other : {AudioStreamFormat{22050, 1, Samples::float32, false, 0},
                                         AudioStreamFormat{16000, 2, Samples::float32, false, 0},
                                         AudioStreamFormat{16000, 1, Samples::signed16, false, 0}}) {
    file().format = other;
    file().frames = 4000;
    resamplers.made.clear();
    ASSERT_TRUE(convert());
    EXPECT_EQ(resamplers.made.size(), 1u);
  }
  resamplers.made.clear();
  file().format = optimal;
  file().frames = 40000;
  file().sample = [](qint64 frame) { return float(frame % 100) / 100; };
  const auto samples = convert();
  ASSERT_TRUE(samples);
  ASSERT_EQ(samples->size(), 40000u);
  EXPECT_FLOAT_EQ((*samples)[39999], 0.99f);
  EXPECT_TRUE(resamplers.made.empty());
}

TEST_F(SampleConversionTest, ErrorsAreToldApart) {
  file().openError = MediaError{MediaError::Kind::unsupported, 0, QStringLiteral("drm")};
  EXPECT_EQ(convert().error().message(), QStringLiteral("Unsupported audio format: drm"));
  file() = {};
  file().nominalFrames.reset();  // only reading shows that there is nothing
  EXPECT_EQ(convert().error().kind, ConversionError::Kind::emptyAudioFile);
  file().frames = 10;
  resamplers.canMake = false;
  EXPECT_EQ(convert().error().message(), QStringLiteral("Unsupported audio format: 48000 Hz, 2 ch, 16-bit integer"));
  resamplers.canMake = true;
  resamplers.convertFailure = PlatformError{QStringLiteral("x"), 1, QStringLiteral("bad luck")};
  EXPECT_EQ(convert().error().message(), QStringLiteral("Audio conversion failed: bad luck"));
}

TEST_F(SampleConversionTest, ABrokenReadYieldsWhatWasRead) {
  file().frames = 480000;
  file().nominalFrames = 480000;
  file().readErrorAt = 240000;
  const auto samples = convert();
  ASSERT_TRUE(samples);
  EXPECT_EQ(samples->size(), 80000u);
  file().readErrorAt = 0;
  EXPECT_EQ(convert().error().message(), QStringLiteral("Audio conversion failed: Read error: broken disk"));
}

TEST_F(SampleConversionTest, TellsHowFarItIsWhateverLengthTheFileClaims) {
  for (const std::optional<qint64> nominal : {std::optional<qint64>(480000), std::optional<qint64>(1),
                                              std::optional<qint64>(), std::optional<qint64>(qint64(1) << 60)}) {
    file().frames = 480000;
    file().nominalFrames = nominal;
    std::vector<float> shares;
    options.progressHandler = [&](float share) { shares.push_back(share); };
    const auto samples = convert();
    ASSERT_TRUE(samples);
    EXPECT_EQ(samples->size(), 160000u) << "what the resampler held back is there";
    ASSERT_FALSE(shares.empty());
    EXPECT_TRUE(std::is_sorted(shares.begin(), shares.end()));
    EXPECT_FLOAT_EQ(shares.back(), 1.0f);
    if (nominal == 480000) {
      EXPECT_FLOAT_EQ(shares.front(), 32768.0f / 480000);
    }
  }
}

// The room set aside in advance is believed only as far as the file is long enough for it.
TEST_F(SampleConversionTest, Reservation) {
  const qint64 tenMegabytes = 10'000'000;
  EXPECT_EQ(SampleConversion::reservation(4'800'000, 48000, 16000, tenMegabytes), 1'600'000);
  EXPECT_EQ(SampleConversion::reservation(qint64(1) << 50, 48000, 16000, 1000), 160'000);
  EXPECT_EQ(SampleConversion::reservation(std::nullopt, 48000, 16000, tenMegabytes), 40'000'000);
  EXPECT_EQ(SampleConversion::reservation(100, 0, 16000, 0), 0);
}

TEST_F(SampleConversionTest, StopEndsBetweenBlocks) {
  file().frames = qint64(1) << 40;
  qint64 reads = 0;
  file().onRead = [&] {
    if (++reads == 5) stop = true;
  };
  EXPECT_FALSE(convert());
  EXPECT_EQ(reads, 5);
}

TEST_F(SampleConversionTest, Normalizes) {
  options.normalize = true;
  file().format = optimal;
  file().frames = 10;
  file().sample = [](qint64) { return -1.9f; };
  const auto samples = convert();
  ASSERT_TRUE(samples);
  EXPECT_FLOAT_EQ(samples->front(), -0.95f);
}

TEST_F(SampleConversionTest, AWavThatCannotBeReadToItsEndIsNoHalfAText) {
  file().frames = 480000;
  file().readErrorAt = 240000;
  file().readErrorKind = MediaError::Kind::incomplete;
  EXPECT_EQ(convert().error().kind, ConversionError::Kind::incomplete);
}

}  // namespace
}  // namespace quillmere
