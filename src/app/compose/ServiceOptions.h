#pragma once
#include <QString>
#include <functional>
#include <memory>

#include "base/Clock.h"
#include "base/log/Logger.h"

namespace quillmere {

class UserNotices;

// What differs from program to program.
struct ServiceOptions {
  QString processName = QStringLiteral("quillmere");
  // Also gets every log line, beside the log files.
  std::shared_ptr<LogSink> extraLogSink;
  UserNotices* notices = nullptr;  // null: what is told goes nowhere
  // Shows the name of the mode that was chosen by its key.
  std::function<void(const QString& modeName)> showModeChange = {};
  // Without the store only settings and models are there.
  bool opensStore = true;
  // How long a finished progress display stays up.
  Duration completionLinger = std::chrono::milliseconds(500);
};

}  // namespace quillmere
