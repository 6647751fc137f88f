#include "base/math/MelFilterBank.h"

#include <algorithm>
#include <cmath>

namespace quillmere {
namespace {

constexpr int kSampleRate = 16000;

// Linear up to 1000 Hz, logarithmic above.
constexpr double kHertzAStep = 200.0 / 3;
constexpr double kKneeHertz = 1000.0;
constexpr double kKneeMel = kKneeHertz / kHertzAStep;
const double kLogStep = std::log(6.4) / 27;

double melOf(double hertz) {
  return hertz >= kKneeHertz ? kKneeMel + std::log(hertz / kKneeHertz) / kLogStep : hertz / kHertzAStep;
}
double hertzOf(double mel) {
  return mel >= kKneeMel ? kKneeHertz * std::exp(kLogStep * (mel - kKneeMel)) : kHertzAStep * mel;
}

}  // namespace

std::vector<float> melFilterBank(int bands, int transformLength) {
  std::vector<double> edges;
  const double top = melOf(kSampleRate / 2.0);
  for (int i = 0; i < bands + 2; ++i) edges.push_back(hertzOf(top * i / (bands + 1)));

  std::vector<float> bank;
  for (std::size_t band = 0; band < static_cast<std::size_t>(bands); ++band) {
    const double low = edges[band], middle = edges[band + 1], high = edges[band + 2];
    const double height = 2.0 / (high - low);
    for (int bin = 0; bin <= transformLength / 2; ++bin) {
      const double hertz = static_cast<double>(bin) * kSampleRate / transformLength;
      const double weight = std::max(0.0, std::min((hertz - low) / (middle - low), (high - hertz) / (high - middle)));
      // Rounded before and after the scaling, as in the published banks.
      bank.push_back(static_cast<float>(static_cast<double>(static_cast<float>(weight)) * height));
    }
  }
  return bank;
}

}  // namespace quillmere
