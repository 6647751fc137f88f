#pragma once
#include <optional>

#include "base/async/Executor.h"

namespace quillmere {

// How long an engine still works, from how it went so far. Pure: the times are handed in.
class TimeLeft {
 public:
  // How far it is, 0 to 1, rising. What came before the first share above 0 (loading, decoding the file) says nothing
  // about the speed.
  void add(TimePoint now, float share);
  // Counts down between two shares. Nothing until 3 s and a second share above 0 are there.
  std::optional<Duration> at(TimePoint now) const;

 private:
  struct Mark {
    TimePoint time;
    float share = 0;
  };
  std::optional<Mark> first_;
  Mark last_;
};

}  // namespace quillmere
