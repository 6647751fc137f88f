#include "platform/ffmpeg/FfmpegFixture.h"

namespace quillmere {
namespace {

// What goes in as a steady tone must come out as that tone below 6.8 kHz, and as nothing above 8 kHz.
class ResamplingQualityTest : public FfmpegFixture, public ::testing::WithParamInterface<int> {
 protected:
  std::vector<float> convertTone(double hertz, double level) {
    const int rate = GetParam();
    const QString path =
        media.write("tone.wav", SampleMedia::wav(rate, 1, rate, SampleMedia::tone(hertz, rate, level), true));
    auto samples = decode(path);
    EXPECT_TRUE(samples);
    if (!samples) return {};
    EXPECT_EQ(samples->size(), 16000u) << hertz;
    return std::move(samples).value();
  }
};

TEST_P(ResamplingQualityTest, LevelInThePassband) {
  const double highest = std::min(6800.0, GetParam() * 0.42);
  for (double step = 60; step <= highest; step *= 1.35) {
    const double hertz = 4 * std::round(step / 4);  // whole periods in what is looked at
    const std::vector<float> samples = convertTone(hertz, 0.5);
    const auto middle = std::span<const float>(samples).subspan(2000, 12000);
    const double decibels = 20 * std::log10(SampleMedia::levelAt(middle, hertz, 16000) / 0.5);
    EXPECT_NEAR(decibels, 0, 0.5) << hertz;
    // Nothing but the tone: the rest is 60 dB below it.
    const double rest = std::sqrt(std::max(
        0.0, std::pow(SampleMedia::rms(middle), 2) - std::pow(SampleMedia::levelAt(middle, hertz, 16000), 2) / 2));
    EXPECT_LT(rest, 0.5e-2) << hertz;
  }
}

TEST_P(ResamplingQualityTest, Aliasing) {
  const double half = GetParam() / 2.0;
  for (double hertz = 8050; hertz < half * 0.98; hertz *= 1.13) {
    const std::vector<float> samples = convertTone(hertz, 0.5);
    const auto middle = std::span<const float>(samples).subspan(2000, 12000);
    EXPECT_LT(20 * std::log10(SampleMedia::rms(middle) / (0.5 / std::sqrt(2.0)) + 1e-12), -60) << hertz;
  }
}

INSTANTIATE_TEST_SUITE_P(Rates, ResamplingQualityTest, ::testing::Values(8000, 22050, 44100, 48000, 192000),
                         ::testing::PrintToStringParamName());

}  // namespace
}  // namespace quillmere
