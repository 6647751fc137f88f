#pragma once
#include <QString>
#include <utility>
#include <vector>

#include "providers/UserNotices.h"

namespace quillmere {

// Notices for services that are built before the windows: keeps what comes before there is a target, the newest few,
// and hands it on then. Main thread. The target outlives its use here; null takes it away.
class DesktopNotices final : public UserNotices {
 public:
  void showToast(const QString& message, bool isCritical) override;
  void setTarget(UserNotices* target);

 private:
  UserNotices* target_ = nullptr;
  std::vector<std::pair<QString, bool>> waiting_;
};

}  // namespace quillmere
