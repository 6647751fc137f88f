#include "recording/SimpleRecorder.h"

#include <gtest/gtest.h>

namespace quillmere {
namespace {

TEST(SimpleRecorderTest, DecibelsBecomeALevel) {
  struct Case {
    float decibels, level;
  };
  const Case cases[] = {{-160, 0},   {-60.001F, 0}, {-60, 0}, {-45, 0.25F},
                        {-30, 0.5F}, {0, 1},        {3, 1},   {std::nanf(""), 0}};
  for (const Case& one : cases) EXPECT_FLOAT_EQ(SimpleRecorder::levelOf(one.decibels), one.level) << one.decibels;
}

}  // namespace
}  // namespace quillmere
