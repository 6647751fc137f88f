#pragma once
#include <memory>

#include "base/log/Logger.h"

namespace quillmere {

// Leads FFmpeg's own messages, which it keeps one process-wide callback for, to the log at debug level and away from
// standard error. One lives as long as the other classes of this room are used; without one, or after it, FFmpeg is
// silent as soon as one has existed. Messages come from any thread.
class FfmpegLog {
 public:
  explicit FfmpegLog(const Logging& logging);
  ~FfmpegLog();
  FfmpegLog(const FfmpegLog&) = delete;
  FfmpegLog& operator=(const FfmpegLog&) = delete;

 private:
  std::shared_ptr<const Logger> logger_;
};

}  // namespace quillmere
