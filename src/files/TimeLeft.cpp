#include "files/TimeLeft.h"

#include <algorithm>

namespace quillmere {
namespace {
using namespace std::chrono_literals;
constexpr Duration leastTime = 3s;
}  // namespace

void TimeLeft::add(TimePoint now, float share) {
  if (share <= 0) return;
  last_ = {now, std::min(share, 1.0f)};
  if (!first_) first_ = last_;
}

std::optional<Duration> TimeLeft::at(TimePoint now) const {
  if (!first_ || !(last_.share > first_->share) || last_.time - first_->time < leastTime) return std::nullopt;
  const std::chrono::duration<double> taken = last_.time - first_->time;
  const double left = taken.count() * double(1 - last_.share) / double(last_.share - first_->share);
  const Duration fromThere = std::chrono::duration_cast<Duration>(std::chrono::duration<double>(left));
  return std::max(Duration::zero(), fromThere - (now - last_.time));
}

}  // namespace quillmere
