#pragma once
#include "platform/x11/XcbConnection.h"
#include "platform/x11/XkbKeyboard.h"
#include "ports/KeyInterceptor.h"

namespace quillmere {

// KeyInterceptor by passive grabs. The keys are taken with whatever modifiers are down; a combination that another
// program has ("Alt+Escape" of a window manager) stays with that program, as long as the plain key can be had. A key
// that is held calls its function once; functions may call stop(). Main thread.
class X11KeyInterceptor final : public KeyInterceptor {
 public:
  // An empty name means the variable DISPLAY.
  explicit X11KeyInterceptor(QString displayName = {});
  ~X11KeyInterceptor() override;

  bool start(std::function<void()> onReturn, std::function<void()> onEscape) override;
  void stop() override;

 private:
  enum class Meaning { accept, refuse };
  struct Taken {
    xcb_keycode_t code = 0;
    Meaning meaning = Meaning::accept;
    bool isDown = false;
  };

  bool connect();
  void onEvent(const xcb_generic_event_t& event);

  const QString displayName_;
  std::unique_ptr<XcbConnection> connection_;
  std::unique_ptr<XkbKeyboard> keyboard_;
  std::vector<Taken> taken_;
  std::function<void()> onReturn_;
  std::function<void()> onEscape_;
  Subscription events_;
};

}  // namespace quillmere
