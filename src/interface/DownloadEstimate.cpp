#include "interface/DownloadEstimate.h"

#include <algorithm>
#include <cmath>

namespace quillmere {
namespace {

using Seconds = std::chrono::duration<double>;
constexpr double sampleSeconds = 0.5;
constexpr double memorySeconds = 4;
constexpr double silenceBytesPerSecond = 2048;

}  // namespace

void DownloadEstimate::add(TimePoint now, double bytes) {
  if (!startTime_ || bytes < lastBytes_) {
    startTime_ = lastTime_ = now;
    lastBytes_ = bytes;
    bytesPerSecond_.reset();
    return;
  }
  const double elapsed = Seconds(now - lastTime_).count();
  if (elapsed < sampleSeconds) return;
  const double speed = (bytes - lastBytes_) / elapsed;
  const double weight = 1 - std::exp(-elapsed / memorySeconds);
  bytesPerSecond_ = bytesPerSecond_ ? *bytesPerSecond_ + (speed - *bytesPerSecond_) * weight : speed;
  lastTime_ = now;
  lastBytes_ = bytes;
}

std::optional<Duration> DownloadEstimate::remaining(double totalBytes) const {
  if (!bytesPerSecond_ || *bytesPerSecond_ < silenceBytesPerSecond || totalBytes <= 0) return std::nullopt;
  if (Seconds(lastTime_ - *startTime_).count() < 1) return std::nullopt;
  return std::chrono::duration_cast<Duration>(Seconds(std::max(0.0, totalBytes - lastBytes_) / *bytesPerSecond_));
}

}  // namespace quillmere
