#pragma once
#include <QDateTime>
#include <functional>

namespace quillmere {

// The wall clock. Pure logic and services take one, so that tests can set the time of day.
// Elapsed time and timers come from Executor::now() instead, which never jumps.
class Clock {
 public:
  virtual ~Clock() = default;
  virtual QDateTime now() const = 0;
};

class SystemClock final : public Clock {
 public:
  QDateTime now() const override;
};

// Test clock and fixed times: returns what it was last set to.
class FixedClock final : public Clock {
 public:
  explicit FixedClock(QDateTime time) : time_(std::move(time)) {}
  QDateTime now() const override { return time_; }
  void set(QDateTime time) { time_ = std::move(time); }

 private:
  QDateTime time_;
};

}  // namespace quillmere
