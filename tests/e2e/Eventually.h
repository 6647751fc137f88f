#pragma once
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <chrono>

namespace quillmere {

// Looks again and again until the condition holds. False when it didn't within the time, which is generous: these
// machines are loaded.
template <typename Condition>
bool eventually(Condition condition, std::chrono::milliseconds limit = std::chrono::seconds(30)) {
  QElapsedTimer clock;
  clock.start();
  while (!condition()) {
    if (clock.elapsed() > limit.count()) return false;
    QCoreApplication::processEvents();
    QThread::msleep(20);
  }
  return true;
}

}  // namespace quillmere
