#pragma once
#include <xcb/xcb.h>

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QString>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "base/Result.h"
#include "base/Subscription.h"
#include "domain/Errors.h"
#include "platform/x11/XcbAtoms.h"
#include "platform/x11/XcbPointer.h"

namespace quillmere {

// A connection of one's own to the X server, apart from Qt's. Lives on the thread that opened it (the main thread),
// which must run a Qt event loop: events are delivered there, in the server's order, never from inside a request, and
// also those that arrived while somebody waited for a reply. Requests that sit in the buffer are flushed whenever the
// loop is about to wait.
// A server that dies ends nothing but the connection: requests then do nothing, replies are null, onClosed is called.
class XcbConnection {
 public:
  struct Extension {
    uint8_t majorOpcode = 0;
    uint8_t firstEvent = 0;
    uint8_t firstError = 0;
  };
  using Observer = std::function<void(const xcb_generic_event_t&)>;

  // An empty name means the variable DISPLAY. Blocks for the handshake.
  static Result<std::unique_ptr<XcbConnection>, PlatformError> open(const QString& displayName = {});
  XcbConnection(const XcbConnection&) = delete;
  XcbConnection& operator=(const XcbConnection&) = delete;
  ~XcbConnection();

  xcb_connection_t* raw() const { return connection_; }
  bool isOpen() const { return !isClosed_ && xcb_connection_has_error(connection_) == 0; }
  const xcb_screen_t& screen() const { return *screen_; }
  xcb_window_t root() const { return screen_->root; }

  // XCB_ATOM_NONE when the connection is closed. One round trip for a name that is new.
  xcb_atom_t atom(const QByteArray& name) { return atoms_.atom(name); }
  // None when the server lacks it.
  std::optional<Extension> extension(xcb_extension_t& extension) const;

  // Every event; errors of unchecked requests are dropped. The event lives for the call only. An observer may end any
  // subscription, also its own; it must not destroy the connection.
  [[nodiscard]] Subscription observeEvents(Observer observer);
  // Called once, from the event loop, when the server is gone.
  void setOnClosed(std::function<void()> onClosed) { onClosed_ = std::move(onClosed); }

  void flush();
  // Delivers what has arrived so far at once instead of at the next turn of the loop.
  void dispatchNow();
  // The error of a request made with xcb_..._checked; null when it went well. One round trip. A closed connection gives
  // null too: look at isOpen().
  XcbPointer<xcb_generic_error_t> errorOf(xcb_void_cookie_t request);
  // Waits until the server has worked off every request so far.
  void synchronize();

 private:
  using Observers = std::map<quint64, std::shared_ptr<Observer>>;

  XcbConnection(xcb_connection_t* connection, xcb_screen_t* screen);
  void read();
  void collectQueued();
  void dispatchSoon();
  void deliverPending();
  void noticeClosed();

  xcb_connection_t* const connection_;
  xcb_screen_t* const screen_;
  XcbAtoms atoms_;
  std::shared_ptr<Observers> observers_ = std::make_shared<Observers>();
  quint64 lastObserver_ = 0;
  std::function<void()> onClosed_;
  std::deque<XcbPointer<xcb_generic_event_t>> pending_;
  bool isDispatchPosted_ = false;
  bool isClosed_ = false;
  QSocketNotifier notifier_;
  QObject context_;  // receiver of what is posted to the loop
};

}  // namespace quillmere
