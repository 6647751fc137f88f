#include "platform/x11/X11KeyInterceptor.h"

#include "platform/x11/DetectableAutoRepeat.h"
#include "platform/x11/PassiveGrab.h"

namespace quillmere {

X11KeyInterceptor::X11KeyInterceptor(QString displayName) : displayName_(std::move(displayName)) {}

X11KeyInterceptor::~X11KeyInterceptor() = default;

bool X11KeyInterceptor::connect() {
  if (connection_ && connection_->isOpen()) return true;
  keyboard_.reset();
  connection_.reset();
  auto connection = XcbConnection::open(displayName_);
  if (!connection) return false;
  auto keyboard = XkbKeyboard::open(**connection);
  if (!keyboard) return false;
  if (!makeAutoRepeatDetectable(**connection)) return false;
  connection_ = *std::move(connection);
  keyboard_ = *std::move(keyboard);
  return true;
}

bool X11KeyInterceptor::start(std::function<void()> onReturn, std::function<void()> onEscape) {
  stop();
  if (!connect()) return false;
  for (const auto& [symbol, meaning] :
       {std::pair{XKB_KEY_Return, Meaning::accept}, std::pair{XKB_KEY_KP_Enter, Meaning::accept},
        std::pair{XKB_KEY_Escape, Meaning::refuse}}) {
    for (const XkbKeyboard::Key& key : keyboard_->keysFor(xkb_keysym_t(symbol))) {
      taken_.push_back({key.code, meaning});
      if (grabWithAnyModifiers(*connection_, key.code, keyboard_->masks().numLock)) continue;
      stop();
      return false;
    }
  }
  onReturn_ = std::move(onReturn);
  onEscape_ = std::move(onEscape);
  events_ = connection_->observeEvents([this](const xcb_generic_event_t& event) { onEvent(event); });
  return true;
}

void X11KeyInterceptor::stop() {
  events_.reset();
  onReturn_ = nullptr;
  onEscape_ = nullptr;
  if (taken_.empty()) return;
  for (const Taken& key : taken_) xcb_ungrab_key(connection_->raw(), key.code, connection_->root(), XCB_MOD_MASK_ANY);
  taken_.clear();
  connection_->synchronize();
}

void X11KeyInterceptor::onEvent(const xcb_generic_event_t& event) {
  const uint8_t type = event.response_type & 0x7f;
  if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) return;
  const xcb_keycode_t code = reinterpret_cast<const xcb_key_press_event_t&>(event).detail;
  const auto key = std::find_if(taken_.begin(), taken_.end(), [&](const Taken& taken) { return taken.code == code; });
  if (key == taken_.end()) return;
  const bool isRepeated = std::exchange(key->isDown, type == XCB_KEY_PRESS);
  if (type == XCB_KEY_RELEASE || isRepeated) return;
  const auto function = key->meaning == Meaning::accept ? onReturn_ : onEscape_;
  if (function) function();
}

}  // namespace quillmere
