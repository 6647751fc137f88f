#include "platform/ffmpeg/FfmpegLog.h"

#include <mutex>

#include "platform/ffmpeg/FfmpegSupport.h"

namespace quillmere {
namespace {

// The library's callback has no argument of ours: this is the one place that holds something for the whole process.
std::mutex currentMutex;
std::shared_ptr<const Logger> current;

void take(void* source, int level, const char* format, va_list arguments) {
  if (level > AV_LOG_INFO) return;
  std::shared_ptr<const Logger> logger;
  {
    const std::scoped_lock lock(currentMutex);
    logger = current;
  }
  if (!logger) return;
  char line[1024];
  int printPrefix = 1;
  av_log_format_line2(source, level, format, arguments, line, sizeof line, &printPrefix);
  const QString text = QString::fromUtf8(line).trimmed();
  if (!text.isEmpty()) logger->debug("FFmpeg: %s", text);
}

}  // namespace

FfmpegLog::FfmpegLog(const Logging& logging)
    : logger_(std::make_shared<const Logger>(logging.logger(QStringLiteral("FFmpeg")))) {
  {
    const std::scoped_lock lock(currentMutex);
    current = logger_;
  }
  av_log_set_callback(&take);
}

FfmpegLog::~FfmpegLog() {
  const std::scoped_lock lock(currentMutex);
  if (current == logger_) current.reset();
}

}  // namespace quillmere
