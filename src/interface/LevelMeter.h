#pragma once
#include <array>

namespace quillmere {

// The motion of the live meter: a row of bars with a running animation each, scaled as a whole by the microphone level.
// Pure.
class LevelMeter {
 public:
  static constexpr int barCount = 25;
  static constexpr double barWidth = 2.0;
  static constexpr double barSpacing = 2.0;
  static constexpr int keyframeCount = 10;
  static constexpr double barSpeed = 2.0;  // how much faster than its duration a bar runs

  // 1 in the middle, 0 at both ends.
  static const std::array<double, barCount>& envelope();
  // Height of bar `bar` at its ten keyframes, of the full height.
  static std::array<double, keyframeCount> keyframes(int bar);
  static double durationSeconds(int bar);
  // Middle of a bar in a view of this width.
  static double x(int bar, double viewWidth);

  // Takes the newest level (0 to 1) and gives the vertical scale of the whole row, 0.25 to 1.
  float update(float level);
  float smoothedLevel() const { return smoothedLevel_; }
  void reset() { smoothedLevel_ = 0; }

 private:
  float smoothedLevel_ = 0;
};

}  // namespace quillmere
