#include "audio/PeakNormalization.h"

namespace quillmere {
namespace {

using Finding = PeakNormalization::Finding;

TEST(PeakNormalizationTest, GainFollowsThePeak) {
  struct Case {
    float peak;
    Finding finding;
    float gain;
  };
  const Case cases[] = {
      {0.0f, Finding::silent, 1},    {0.01f, Finding::boostQuiet, 10}, {0.099f, Finding::boostQuiet, 9.596f},
      {0.1f, Finding::notNeeded, 1}, {0.95f, Finding::notNeeded, 1},   {1.9f, Finding::preventClipping, 0.5f}};
  for (const Case& c : cases) {
    for (const float sign : {1.0f, -1.0f}) {  // the largest may be a trough
      const std::vector<float> samples{c.peak / 3, sign * c.peak, -c.peak / 2};
      const PeakNormalization plan = planNormalization(samples);
      EXPECT_EQ(plan.finding, c.finding) << c.peak;
      EXPECT_NEAR(plan.gain, c.gain, 1e-3) << c.peak;
    }
  }
  EXPECT_EQ(planNormalization({}).finding, Finding::silent);
}

}  // namespace
}  // namespace quillmere
