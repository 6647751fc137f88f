#pragma once
#include <gtest/gtest.h>

#include "support/InLoop.h"

namespace quillmere {

// Names of a contract suite's two instances: testing::Types<side of the fake, side of the adapter>. A side holds the
// port and the hands that the cases need; the fixture inherits it.
struct SideNames {
  template <typename Side>
  static std::string GetName(int index) {
    return index == 0 ? "Fake" : "Real";
  }
};

}  // namespace quillmere
