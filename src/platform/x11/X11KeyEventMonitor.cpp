#include "platform/x11/X11KeyEventMonitor.h"

#include "platform/x11/KeySymbols.h"

namespace quillmere {
namespace {

unsigned flagsOfSymbol(xkb_keysym_t symbol) {
  switch (symbol) {
    case XKB_KEY_Control_L:
    case XKB_KEY_Control_R:
      return modifierFlags::control;
    case XKB_KEY_Alt_L:
      return modifierFlags::leftOption | modifierFlags::option;
    case XKB_KEY_Alt_R:
    case XKB_KEY_ISO_Level3_Shift:
      return modifierFlags::rightOption | modifierFlags::option;
    case XKB_KEY_Shift_L:
    case XKB_KEY_Shift_R:
      return modifierFlags::shift;
    case XKB_KEY_Super_L:
    case XKB_KEY_Super_R:
    case XKB_KEY_Meta_L:
    case XKB_KEY_Meta_R:
    case XKB_KEY_Hyper_L:
    case XKB_KEY_Hyper_R:
      return modifierFlags::command;
    case XKB_KEY_XF86Fn:
      return modifierFlags::function;
    default:
      return 0;
  }
}

}  // namespace

X11KeyEventMonitor::X11KeyEventMonitor(QString displayName) : displayName_(std::move(displayName)) {}

X11KeyEventMonitor::~X11KeyEventMonitor() = default;

bool X11KeyEventMonitor::connect() const {
  if (connection_ && connection_->isOpen()) return true;
  keyboard_.reset();
  connection_.reset();
  auto connection = XcbConnection::open(displayName_);
  if (!connection) return false;
  const auto rawKeys = RawKeyEvents::on(**connection);
  if (!rawKeys) return false;
  auto keyboard = XkbKeyboard::open(**connection);
  if (!keyboard) return false;
  connection_ = *std::move(connection);
  keyboard_ = *std::move(keyboard);
  rawKeys_ = rawKeys;
  return true;
}

bool X11KeyEventMonitor::start(std::function<void(const ModifierEvent&)> observer) {
  stop();
  if (!connect()) return false;
  if (!rawKeys_->select(true)) return false;
  observer_ = std::move(observer);
  events_ = connection_->observeEvents([this](const xcb_generic_event_t& event) { onEvent(event); });
  keyboard_->setOnChanged([this] { onKeyboardChanged(); });
  readKeysDown();
  lastFlags_ = flags();
  return true;
}

void X11KeyEventMonitor::stop() {
  events_.reset();
  observer_ = nullptr;
  if (!connection_) return;
  keyboard_->setOnChanged(nullptr);
  if (connection_->isOpen()) rawKeys_->select(false);
}

void X11KeyEventMonitor::catchUp() {
  if (!observer_) return;
  connection_->synchronize();
  connection_->dispatchNow();
}

bool X11KeyEventMonitor::canSee(ModifierKey key) const {
  if (!connect()) return true;
  unsigned wanted = 0;
  switch (key) {
    case ModifierKey::fn:
      wanted = modifierFlags::function;
      break;
    case ModifierKey::control:
      wanted = modifierFlags::control;
      break;
    case ModifierKey::leftOption:
      wanted = modifierFlags::leftOption;
      break;
    case ModifierKey::rightOption:
      wanted = modifierFlags::rightOption;
      break;
  }
  for (int code = 8; code < 256; ++code)
    if (flagsOf(xcb_keycode_t(code)) & wanted) return true;
  return false;
}

// Keys that went down before anybody watched.
void X11KeyEventMonitor::readKeysDown() {
  const auto cookie = xcb_query_keymap(connection_->raw());
  const XcbPointer<xcb_query_keymap_reply_t> reply(xcb_query_keymap_reply(connection_->raw(), cookie, nullptr));
  if (!reply) return;
  for (size_t code = 0; code < 256; ++code) keysDown_[code] = (reply->keys[code / 8] >> (code % 8)) & 1;
}

void X11KeyEventMonitor::onEvent(const xcb_generic_event_t& event) {
  const auto key = rawKeys_->key(event);
  if (!key) return;
  keysDown_[key->code] = key->isPress;
  if (isModifierSymbol(keyboard_->baseSymbol(key->code)))
    emit(ModifierEvent::Kind::flagsChanged);
  else if (key->isPress)
    emit(ModifierEvent::Kind::keyDown);
}

void X11KeyEventMonitor::onKeyboardChanged() {
  readKeysDown();
  if (flags() != lastFlags_) emit(ModifierEvent::Kind::flagsChanged);
}

unsigned X11KeyEventMonitor::flagsOf(xcb_keycode_t code) const {
  return flagsOfSymbol(keyboard_->baseSymbol(code));
}

unsigned X11KeyEventMonitor::flags() const {
  unsigned flags = 0;
  for (size_t code = 0; code < keysDown_.size(); ++code)
    if (keysDown_[code]) flags |= flagsOf(xcb_keycode_t(code));
  return flags;
}

void X11KeyEventMonitor::emit(ModifierEvent::Kind kind) {
  lastFlags_ = flags();
  const auto observer = observer_;
  if (observer) observer({kind, lastFlags_});
}

}  // namespace quillmere
