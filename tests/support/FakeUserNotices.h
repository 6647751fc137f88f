#pragma once
#include <QString>
#include <utility>
#include <vector>

#include "providers/UserNotices.h"

namespace quillmere {

class FakeUserNotices final : public UserNotices {
 public:
  std::vector<std::pair<QString, bool>> toasts;
  void showToast(const QString& message, bool isCritical) override { toasts.emplace_back(message, isCritical); }
};

}  // namespace quillmere
