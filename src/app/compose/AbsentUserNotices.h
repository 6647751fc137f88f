#pragma once
#include "providers/UserNotices.h"

namespace quillmere {

// For a program that nobody watches.
class AbsentUserNotices final : public UserNotices {
 public:
  void showToast(const QString&, bool) override {}
};

}  // namespace quillmere
