#pragma once
#include <QString>
#include <functional>
#include <optional>

#include "base/Subscription.h"

namespace quillmere {

// A program by one of its windows.
struct RunningApplication {
  qint64 processId = 0;  // as this process would see it, also of a program in a sandbox; 0 where nobody tells
  QString bundleId;  // the identifier of the application tables, or the application's own (desktop file, window class)
  QString localizedName;
  QString windowTitle;
  bool isThisApplication = false;
  quint64 windowId = 0;  // 0 where windows have no identity
  bool operator==(const RunningApplication&) const = default;
};

// Whether both mean the same window, or the same process where windows have no identity.
inline bool isSameWindow(const RunningApplication& one, const RunningApplication& other) {
  if (one.processId != other.processId) return false;
  return one.windowId != 0 && other.windowId != 0 ? one.windowId == other.windowId : one.processId != 0;
}

// The applications on the desktop. Main thread; every call ends within a few milliseconds.
class Workspace {
 public:
  virtual ~Workspace() = default;
  // The application whose window has the keyboard. None between two windows, on an empty desktop or without a display.
  virtual std::optional<RunningApplication> frontmostApplication() const = 0;
  // The same window as it is now. None when it is gone.
  virtual std::optional<RunningApplication> find(const RunningApplication& application) const = 0;
  // Brings it to the front, from another virtual desktop too; without a window identifier the window of the process
  // that was active last. False when it is gone.
  virtual bool activate(const RunningApplication& application) = 0;
  // Takes this application's windows away, so that the one below gets the keyboard.
  virtual void hideThisApplication() = 0;
  [[nodiscard]] virtual Subscription observeFrontmost(std::function<void()> observer) = 0;
  // The user typed into this window: a key that writes or moves the cursor, without Control, Alt or Super. Keystrokes
  // that programs send count as well. Watched only as long as somebody observes.
  [[nodiscard]] virtual Subscription observeTyping(std::function<void(const RunningApplication&)> observer) = 0;
  // A program showed its first window.
  [[nodiscard]] virtual Subscription observeLaunches(std::function<void(const RunningApplication&)> observer) = 0;
  virtual bool forceTerminate(qint64 processId) = 0;
};

}  // namespace quillmere
