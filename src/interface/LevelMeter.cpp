#include "interface/LevelMeter.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quillmere {
namespace {

constexpr float noiseFloor = 0.08F;
constexpr double rowWidth =
    LevelMeter::barCount * (LevelMeter::barWidth + LevelMeter::barSpacing) - LevelMeter::barSpacing;

}  // namespace

const std::array<double, LevelMeter::barCount>& LevelMeter::envelope() {
  static const auto values = [] {
    std::array<double, barCount> result{};
    constexpr int middle = barCount / 2;
    for (int i = 0; i < barCount; ++i) {
      const double e = 1.0 - std::abs(i - middle) / double(middle);
      result[size_t(i)] = e * e;
    }
    return result;
  }();
  return values;
}

std::array<double, LevelMeter::keyframeCount> LevelMeter::keyframes(int bar) {
  std::array<double, keyframeCount> values{};
  const double e = envelope()[size_t(bar)];
  for (int j = 0; j < keyframeCount; ++j) {
    const double s = std::sin(2 * std::numbers::pi * bar / barCount + 2 * std::numbers::pi * j / keyframeCount);
    values[size_t(j)] = ((s + 1) * 0.5 * 0.65 + 0.35) * (e * 0.85) + 0.15;
  }
  return values;
}

double LevelMeter::durationSeconds(int bar) {
  return 1.5 + (bar % 5) * 0.1;
}

double LevelMeter::x(int bar, double viewWidth) {
  return (viewWidth - rowWidth) * 0.5 + bar * (barWidth + barSpacing) + barWidth / 2;
}

float LevelMeter::update(float level) {
  smoothedLevel_ = smoothedLevel_ * 0.9F + (level < noiseFloor ? 0.0F : level * 0.1F);
  if (smoothedLevel_ <= 0) return 0.25F;
  return std::min(smoothedLevel_, 1.0F) * 0.75F + 0.25F;
}

}  // namespace quillmere
