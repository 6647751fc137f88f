#include "interface/LevelMeter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace quillmere {
namespace {

TEST(LevelMeter, IsTallestInTheMiddle) {
  const auto& envelope = LevelMeter::envelope();
  EXPECT_EQ(envelope[12], 1.0);
  EXPECT_EQ(envelope[0], 0.0);
  EXPECT_EQ(envelope[24], 0.0);
  EXPECT_DOUBLE_EQ(envelope[6], 0.25);
  for (size_t i = 0; i < 12; ++i) EXPECT_EQ(envelope[i], envelope[24 - i]);
  EXPECT_DOUBLE_EQ(LevelMeter::x(24, 198), 147) << "in the middle of a wider view";
  EXPECT_DOUBLE_EQ(LevelMeter::durationSeconds(9), 1.9);
  for (const double value : LevelMeter::keyframes(0)) EXPECT_DOUBLE_EQ(value, 0.15);
  const double s = std::sin(2 * std::numbers::pi * 12 / 25 + 2 * std::numbers::pi * 3 / 10);
  EXPECT_DOUBLE_EQ(LevelMeter::keyframes(12)[3], ((s + 1) * 0.5 * 0.65 + 0.35) * 0.85 + 0.15);
}

TEST(LevelMeter, FallsSilentOnNoise) {
  LevelMeter meter;
  EXPECT_FLOAT_EQ(meter.update(0), 0.25F);
  EXPECT_FLOAT_EQ(meter.update(0.079F), 0.25F);
  EXPECT_FLOAT_EQ(meter.update(0.08F), 0.008F * 0.75F + 0.25F);
  for (int i = 0; i < 200; ++i) meter.update(1);
  EXPECT_NEAR(meter.update(1), 1.0F, 1e-4F);
  const float loud = meter.smoothedLevel();
  meter.update(0.05F);
  EXPECT_FLOAT_EQ(meter.smoothedLevel(), loud * 0.9F);
  for (int i = 0; i < 500; ++i) EXPECT_LE(meter.update(5), 1.0F) << "never taller than the view";
}

}  // namespace
}  // namespace quillmere
