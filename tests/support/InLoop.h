#pragma once
#include "platform/qt/QtExecutor.h"
#include "support/RunTask.h"

namespace quillmere {

// A fixture whose tasks run in Qt's event loop, in real time.
struct InLoop {
  template <typename T>
  T run(Task<T> task) {
    return runTaskInLoop(executor, std::move(task));
  }
  QtExecutor executor;
};

}  // namespace quillmere
