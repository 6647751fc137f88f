#pragma once
#include <span>

namespace quillmere {

// What normalising finds and does: the largest absolute sample and the gain that brings a peak above 0.95 down to it
// and one below 0.1 up towards it, at most tenfold. The gain is 1 for silence and for what lies between.
struct PeakNormalization {
  enum class Finding { silent, preventClipping, boostQuiet, notNeeded };
  Finding finding = Finding::notNeeded;
  float peak = 0;
  float gain = 1;
};

PeakNormalization planNormalization(std::span<const float> samples);
void applyGain(std::span<float> samples, float gain);

}  // namespace quillmere
