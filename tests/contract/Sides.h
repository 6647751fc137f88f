#pragma once
#include <gtest/gtest.h>

#include "platform/qt/QtExecutor.h"
#include "support/RunTask.h"

namespace quillmere {

// Names of a contract suite's two instances: testing::Types<side of the fake, side of the adapter>. A side holds the
// port and the hands that the cases need; the fixture inherits it.
struct SideNames {
  template <typename Side>
  static std::string GetName(int index) {
    return index == 0 ? "Fake" : "Real";
  }
};

// For sides whose port has tasks.
struct InLoop {
  template <typename T>
  T run(Task<T> task) {
    return runTaskInLoop(executor, std::move(task));
  }
  QtExecutor executor;
};

}  // namespace quillmere
