#include "platform/x11/X11KeyEventMonitor.h"

#include "platform/x11/KeySymbols.h"
#include "platform/x11/PassiveGrab.h"

namespace quillmere {
namespace {

unsigned flagsOfSymbol(xkb_keysym_t symbol) {
  using namespace modifierFlags;
  switch (symbol) {
    case XKB_KEY_Control_L:
      return leftControl | control;
    case XKB_KEY_Control_R:
      return rightControl | control;
    case XKB_KEY_Alt_L:
      return leftAlt | alt;
    case XKB_KEY_Alt_R:
    case XKB_KEY_ISO_Level3_Shift:
      return rightAlt | alt;
    case XKB_KEY_Shift_L:
      return leftShift | shift;
    case XKB_KEY_Shift_R:
      return rightShift | shift;
    case XKB_KEY_Super_L:
      return leftSuper | super;
    case XKB_KEY_Super_R:
      return rightSuper | super;
    case XKB_KEY_Meta_L:
    case XKB_KEY_Meta_R:
    case XKB_KEY_Hyper_L:
    case XKB_KEY_Hyper_R:
      return super;
    case XKB_KEY_Caps_Lock:
      return capsLock;
    case XKB_KEY_Menu:
      return menu;
    case XKB_KEY_Pause:
      return pause;
    case XKB_KEY_Scroll_Lock:
      return scrollLock;
    case XKB_KEY_XF86Fn:
      return function;
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

bool X11KeyEventMonitor::start(ModifierKey key, std::function<void(const ModifierEvent&)> observer) {
  stop();
  if (!connect()) return false;
  if (!rawKeys_->select(RawKeyEvents::Selection::keysAndButtons)) return false;
  key_ = key;
  observer_ = std::move(observer);
  events_ = connection_->observeEvents([this](const xcb_generic_event_t& event) { onEvent(event); });
  keyboard_->setOnChanged([this] { onKeyboardChanged(); });
  takeKey();
  readKeysDown();
  lastFlags_ = flags();
  return true;
}

void X11KeyEventMonitor::stop() {
  releaseKey();
  taking_.reset();
  events_.reset();
  observer_ = nullptr;
  if (!connection_) return;
  keyboard_->setOnChanged(nullptr);
  if (connection_->isOpen()) rawKeys_->select(RawKeyEvents::Selection::none);
}

// On a connection of its own: the server gives no raw events to who has the key. It is watched also where it can't be
// had.
void X11KeyEventMonitor::takeKey() {
  std::vector<xcb_keycode_t> wanted;
  for (int code = 8; isNoChordKey(key_) && code < 256; ++code)
    if (isWatched(xcb_keycode_t(code))) wanted.push_back(xcb_keycode_t(code));
  if (wanted == taken_) return;
  releaseKey();
  if (wanted.empty()) return;
  if (!taking_) {
    auto connection = XcbConnection::open(displayName_);
    if (!connection) return;
    taking_ = *std::move(connection);
  }
  taken_ = std::move(wanted);
  for (const xcb_keycode_t code : taken_) grabWithAnyModifiers(*taking_, code, keyboard_->masks().numLock);
}

// The end of a connection alone would give the key back only later.
void X11KeyEventMonitor::releaseKey() {
  if (taken_.empty()) return;
  for (const xcb_keycode_t code : std::exchange(taken_, {}))
    xcb_ungrab_key(taking_->raw(), code, taking_->root(), XCB_MOD_MASK_ANY);
  taking_->synchronize();
}

void X11KeyEventMonitor::catchUp() {
  if (!observer_) return;
  connection_->synchronize();
  connection_->dispatchNow();
}

bool X11KeyEventMonitor::canSee(ModifierKey key) const {
  if (!connect()) return true;
  for (int code = 8; code < 256; ++code)
    if (flagsOf(xcb_keycode_t(code)) & modifierFlags::of(key)) return true;
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
  if (rawKeys_->isButtonPress(event)) return emit(ModifierEvent::Kind::buttonDown);
  const auto key = rawKeys_->key(event);
  if (!key) return;
  keysDown_[key->code] = key->isPress;
  // The server has locked the capitals by now, or has it in mind for the release.
  if (key_ == ModifierKey::capsLock && isWatched(key->code)) keyboard_->unlockCapitals();
  if (isWatched(key->code) || isModifierSymbol(keyboard_->baseSymbol(key->code)))
    emit(ModifierEvent::Kind::flagsChanged);
  else if (key->isPress)
    emit(ModifierEvent::Kind::keyDown);
}

void X11KeyEventMonitor::onKeyboardChanged() {
  takeKey();
  readKeysDown();
  if (flags() != lastFlags_) emit(ModifierEvent::Kind::flagsChanged);
}

bool X11KeyEventMonitor::isWatched(xcb_keycode_t code) const {
  return (flagsOf(code) & modifierFlags::of(key_)) != 0;
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
