#include "platform/x11/X11KeyInterceptor.h"

#include "platform/x11/DetectableAutoRepeat.h"

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
      if (grab(key.code)) continue;
      stop();
      return false;
    }
  }
  onReturn_ = std::move(onReturn);
  onEscape_ = std::move(onEscape);
  events_ = connection_->observeEvents([this](const xcb_generic_event_t& event) { onEvent(event); });
  return true;
}

bool X11KeyInterceptor::grab(xcb_keycode_t code) {
  const auto request = [&](uint16_t modifiers) {
    return xcb_grab_key_checked(connection_->raw(), 0, connection_->root(), modifiers, code, XCB_GRAB_MODE_ASYNC,
                                XCB_GRAB_MODE_ASYNC);
  };
  if (!connection_->errorOf(request(XCB_MOD_MASK_ANY))) return connection_->isOpen();
  // Somebody has the key with some modifiers: take the rest one by one.
  constexpr unsigned combinations = 1u << 8;
  std::vector<xcb_void_cookie_t> requests;
  for (unsigned modifiers = 0; modifiers < combinations; ++modifiers) requests.push_back(request(uint16_t(modifiers)));
  const XkbKeyboard::Masks masks = keyboard_->masks();
  const unsigned locks = XCB_MOD_MASK_LOCK | masks.numLock;
  bool hasPlainKey = true;
  for (unsigned modifiers = 0; modifiers < combinations; ++modifiers) {
    const bool isTaken = connection_->errorOf(requests[modifiers]) != nullptr;
    if (isTaken && (modifiers & ~locks) == 0) hasPlainKey = false;
  }
  return hasPlainKey && connection_->isOpen();
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
