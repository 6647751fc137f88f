#pragma once
#include <optional>

#include "base/async/Executor.h"

namespace quillmere {

// How long a download still takes, from how it went in the last seconds. Pure: the times are handed in.
class DownloadEstimate {
 public:
  // Bytes that are there. What was there at the first call (a download that goes on) says nothing about the speed.
  void add(TimePoint now, double bytes);
  // Nothing in the first second, without a known total, or while nothing arrives.
  std::optional<Duration> remaining(double totalBytes) const;

 private:
  std::optional<TimePoint> startTime_;
  TimePoint lastTime_;
  double lastBytes_ = 0;
  std::optional<double> bytesPerSecond_;  // smoothed
};

}  // namespace quillmere
