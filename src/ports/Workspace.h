#pragma once
#include <QString>
#include <functional>
#include <optional>

#include "base/Subscription.h"

namespace quillmere {

struct RunningApplication {
  qint64 processId = 0;
  QString bundleId;  // the identifier of the application tables, or the application's own (desktop file, window class)
  QString localizedName;
  QString windowTitle;
  bool isThisApplication = false;
  bool operator==(const RunningApplication&) const = default;
};

// The applications on the desktop. Main thread; every call ends within a few milliseconds.
class Workspace {
 public:
  virtual ~Workspace() = default;
  // The application whose window has the keyboard. None between two windows, on an empty desktop or without a display.
  virtual std::optional<RunningApplication> frontmostApplication() const = 0;
  virtual std::optional<RunningApplication> runningApplication(qint64 processId) const = 0;
  // Brings the window of that process that was active last to the front; false when it has none.
  virtual bool activate(qint64 processId) = 0;
  // Takes this application's windows away, so that the one below gets the keyboard.
  virtual void hideThisApplication() = 0;
  [[nodiscard]] virtual Subscription observeFrontmost(std::function<void()> observer) = 0;
  // A program showed its first window.
  [[nodiscard]] virtual Subscription observeLaunches(std::function<void(const RunningApplication&)> observer) = 0;
  virtual bool forceTerminate(qint64 processId) = 0;
};

}  // namespace quillmere
