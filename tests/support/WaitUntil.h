#pragma once
#include <QEventLoop>
#include <QTimer>
#include <functional>

namespace quillmere {

// Serves Qt's events until the condition holds; false when it doesn't within a minute.
inline bool waitUntil(const std::function<bool()>& condition) {
  QEventLoop loop;
  bool isHanging = false;
  QTimer::singleShot(std::chrono::minutes(1), &loop, [&] { isHanging = true; });
  QTimer look;  // conditions outside of this process announce nothing
  look.start(std::chrono::milliseconds(2));
  while (!condition() && !isHanging) loop.processEvents(QEventLoop::WaitForMoreEvents);
  return !isHanging;
}

}  // namespace quillmere
