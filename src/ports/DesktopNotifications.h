#pragma once
#include <QString>

#include "base/async/Task.h"

namespace quillmere {

// Messages in the desktop's own way. Main thread.
class DesktopNotifications {
 public:
  struct Content {
    QString text;
    bool isCritical = false;  // stays until it was seen
  };
  virtual ~DesktopNotifications() = default;
  // Shows it in the place of the one before. False where the desktop shows none.
  virtual Task<bool> show(Content content) = 0;
};

}  // namespace quillmere
