#include "audio/PeakNormalization.h"

#include <algorithm>
#include <cmath>

namespace quillmere {
namespace {
constexpr float targetPeak = 0.95f;
constexpr float quietPeak = 0.1f;
constexpr float largestGain = 10.0f;
}  // namespace

PeakNormalization planNormalization(std::span<const float> samples) {
  float peak = 0;
  for (const float sample : samples) peak = std::max(peak, std::abs(sample));
  using enum PeakNormalization::Finding;
  if (!(peak > 0)) return {silent, 0, 1};
  if (peak > targetPeak) return {preventClipping, peak, targetPeak / peak};
  if (peak < quietPeak) return {boostQuiet, peak, std::min(targetPeak / peak, largestGain)};
  return {notNeeded, peak, 1};
}

void applyGain(std::span<float> samples, float gain) {
  for (float& sample : samples) sample *= gain;
}

}  // namespace quillmere
