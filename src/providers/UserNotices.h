#pragma once
#include <QString>

namespace quillmere {

// Where short messages reach the user: a toast on the desktop, a line on the terminal. Main thread.
class UserNotices {
 public:
  virtual ~UserNotices() = default;
  // A critical message is one that the user has to act on: a key, an account, a quota.
  virtual void showToast(const QString& message, bool isCritical) = 0;
};

}  // namespace quillmere
