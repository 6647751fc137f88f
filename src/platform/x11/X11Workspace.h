#pragma once
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "base/Subscription.h"
#include "platform/x11/RawKeyEvents.h"
#include "platform/x11/XcbConnection.h"
#include "platform/x11/XkbKeyboard.h"
#include "ports/Workspace.h"

namespace quillmere {

// Windows as the window manager announces them (EWMH). Main thread; a call takes a few round trips. Without a window
// manager that keeps _NET_ACTIVE_WINDOW the window with the input focus counts.
class X11Workspace final : public Workspace {
 public:
  // Identifier of the application tables for a window's class and instance: a pure function.
  using Identify = std::function<QString(const QString& windowClass, const QString& instance)>;

  // `thisProcessId` tells our own windows; `hideOwnWindows` takes them away. An empty name means DISPLAY.
  static Result<std::unique_ptr<X11Workspace>, PlatformError> open(Identify identify, qint64 thisProcessId,
                                                                   std::function<void()> hideOwnWindows,
                                                                   const QString& displayName = {});
  ~X11Workspace() override;

  std::optional<RunningApplication> frontmostApplication() const override;
  std::optional<RunningApplication> find(const RunningApplication& application) const override;
  bool activate(const RunningApplication& application) override;
  void hideThisApplication() override;
  Subscription observeFrontmost(std::function<void()> observer) override;
  Subscription observeTyping(std::function<void(const RunningApplication&)> observer) override;
  Subscription observeLaunches(std::function<void(const RunningApplication&)> observer) override;
  bool forceTerminate(qint64 processId) override;

 private:
  using FrontmostObserver = std::function<void()>;
  using ApplicationObserver = std::function<void(const RunningApplication&)>;
  template <typename F>
  using ObserverMap = std::map<quint64, std::shared_ptr<F>>;
  template <typename F>
  using Observers = std::shared_ptr<ObserverMap<F>>;

  X11Workspace(std::unique_ptr<XcbConnection> connection, Identify identify, qint64 thisProcessId,
               std::function<void()> hideOwnWindows);
  template <typename F>
  Subscription add(const Observers<F>& observers, F observer);
  template <typename F, typename... Arguments>
  static void tell(const Observers<F>& observers, const Arguments&... arguments);
  void handle(const xcb_generic_event_t& event);
  bool watchKeys();
  void keyPressed(xcb_keycode_t code);
  void activeWindowChanged();
  void rememberActiveWindow();
  void clientListChanged();
  bool hasWindowManager() const;
  xcb_window_t activeWindow() const;
  std::vector<xcb_window_t> clientWindows() const;  // the lowest first
  xcb_window_t windowOf(const RunningApplication& application) const;
  xcb_window_t lastWindowOf(qint64 processId) const;
  void showDesktopOf(xcb_window_t window, xcb_timestamp_t time);
  void askWindowManager(xcb_window_t window, const char* message, const std::vector<uint32_t>& values);
  qint64 processIdOf(xcb_window_t window) const;
  QString titleOf(xcb_window_t window) const;
  std::optional<RunningApplication> applicationOf(xcb_window_t window) const;
  bool isApplicationWindow(xcb_window_t window) const;
  xcb_timestamp_t serverTime();
  QByteArray property(xcb_window_t window, const QByteArray& name, xcb_atom_t type) const;

  std::unique_ptr<XcbConnection> connection_;
  const Identify identify_;
  bool knowsClients_ = false;  // the server tells which process a window belongs to
  qint64 thisProcessId_;
  const std::function<void()> hideOwnWindows_;
  xcb_window_t ownWindow_ = XCB_NONE;  // never shown; for the server's time
  xcb_timestamp_t lastTime_ = XCB_CURRENT_TIME;
  xcb_window_t lastFrontmost_ = XCB_NONE;
  std::map<qint64, xcb_window_t> lastActiveWindow_;
  std::vector<xcb_window_t> knownWindows_;
  std::set<qint64> knownProcesses_;
  Observers<FrontmostObserver> frontmostObservers_ = std::make_shared<ObserverMap<FrontmostObserver>>();
  Observers<ApplicationObserver> launchObservers_ = std::make_shared<ObserverMap<ApplicationObserver>>();
  Observers<ApplicationObserver> typingObservers_ = std::make_shared<ObserverMap<ApplicationObserver>>();
  quint64 lastObserver_ = 0;
  std::optional<RawKeyEvents> rawKeys_;
  std::unique_ptr<XkbKeyboard> keyboard_;
  Subscription events_;
};

}  // namespace quillmere
