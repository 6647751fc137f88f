#include "platform/x11/X11KeySynthesizer.h"

#include <xcb/xtest.h>

#include <chrono>
#include <set>
#include <thread>

namespace quillmere {
namespace {

constexpr std::chrono::milliseconds betweenPressAndRelease{10};

Failed<PlatformError> failed(QString description) {
  return Failed{PlatformError{QStringLiteral("x11"), 0, std::move(description)}};
}

}  // namespace

Result<std::unique_ptr<X11KeySynthesizer>, PlatformError> X11KeySynthesizer::open(const QString& displayName) {
  TRY(auto connection, XcbConnection::open(displayName));
  if (!connection->extension(xcb_test_id)) return failed(QStringLiteral("The X server lacks the XTEST extension."));
  TRY(auto keyboard, XkbKeyboard::open(*connection));
  return std::unique_ptr<X11KeySynthesizer>(new X11KeySynthesizer(std::move(connection), std::move(keyboard)));
}

X11KeySynthesizer::X11KeySynthesizer(std::unique_ptr<XcbConnection> connection, std::unique_ptr<XkbKeyboard> keyboard)
    : connection_(std::move(connection)), keyboard_(std::move(keyboard)) {}

bool X11KeySynthesizer::isAvailable() const {
  return connection_->isOpen();
}

std::optional<int> X11KeySynthesizer::keyCodeForLetter(QChar letter) {
  catchUp();
  if (!isAvailable()) return std::nullopt;
  const auto keys = keyboard_->keysOnLayoutsFor(xkb_utf32_to_keysym(letter.toLower().unicode()));
  if (keys.empty() || keys.front().needsShift) return std::nullopt;
  return keys.front().code;
}

Result<void, PlatformError> X11KeySynthesizer::press(int keyCode, Modifier modifier) {
  const xcb_setup_t& setup = *xcb_get_setup(connection_->raw());
  if (keyCode < setup.min_keycode || keyCode > setup.max_keycode)
    return failed(QStringLiteral("The keyboard has no such key."));
  catchUp();
  return stroke(xcb_keycode_t(keyCode), modifier);
}

Result<void, PlatformError> X11KeySynthesizer::press(NamedKey key, Modifier modifier) {
  catchUp();
  const xkb_keysym_t symbol = key == NamedKey::space ? XKB_KEY_space
                              : key == NamedKey::tab ? XKB_KEY_Tab
                                                     : XKB_KEY_Insert;
  const auto keyCode = keyCodeFor(symbol);
  if (!keyCode) return failed(QStringLiteral("The keyboard has no such key."));
  return stroke(*keyCode, modifier);
}

// The connection may hold news of the layout that the event loop hasn't delivered yet.
void X11KeySynthesizer::catchUp() {
  connection_->synchronize();
  connection_->dispatchNow();
}

std::optional<xcb_keycode_t> X11KeySynthesizer::keyCodeFor(xkb_keysym_t symbol) {
  const auto keys = keyboard_->keysFor(symbol);
  if (keys.empty()) return std::nullopt;
  return keys.front().code;
}

std::vector<xcb_keycode_t> X11KeySynthesizer::heldModifiers() {
  const auto keymapCookie = xcb_query_keymap(connection_->raw());
  const auto mappingCookie = xcb_get_modifier_mapping(connection_->raw());
  const XcbPointer<xcb_query_keymap_reply_t> keymap(xcb_query_keymap_reply(connection_->raw(), keymapCookie, nullptr));
  const XcbPointer<xcb_get_modifier_mapping_reply_t> mapping(
      xcb_get_modifier_mapping_reply(connection_->raw(), mappingCookie, nullptr));
  if (!keymap || !mapping) return {};
  const xcb_keycode_t* const codes = xcb_get_modifier_mapping_keycodes(mapping.get());
  const std::set<xcb_keycode_t> modifiers(codes, codes + xcb_get_modifier_mapping_keycodes_length(mapping.get()));
  std::vector<xcb_keycode_t> held;
  for (const xcb_keycode_t code : modifiers)
    if (code != 0 && (keymap->keys[code / 8] & (1u << (code % 8)))) held.push_back(code);
  return held;
}

Result<void, PlatformError> X11KeySynthesizer::stroke(xcb_keycode_t keyCode, Modifier modifier) {
  std::optional<xcb_keycode_t> modifierCode;
  if (modifier != Modifier::none) {
    modifierCode = keyCodeFor(modifier == Modifier::control ? XKB_KEY_Control_L : XKB_KEY_Shift_L);
    if (!modifierCode) return failed(QStringLiteral("The keyboard has no such modifier."));
  }
  for (const xcb_keycode_t held : heldModifiers()) send(XCB_KEY_RELEASE, held);
  if (modifierCode) send(XCB_KEY_PRESS, *modifierCode);
  send(XCB_KEY_PRESS, keyCode);
  connection_->flush();
  std::this_thread::sleep_for(betweenPressAndRelease);
  send(XCB_KEY_RELEASE, keyCode);
  if (modifierCode) send(XCB_KEY_RELEASE, *modifierCode);
  connection_->synchronize();
  if (!connection_->isOpen()) return failed(QStringLiteral("The X server is gone."));
  return {};
}

void X11KeySynthesizer::send(uint8_t kind, xcb_keycode_t keyCode) {
  xcb_test_fake_input(connection_->raw(), kind, keyCode, XCB_CURRENT_TIME, connection_->root(), 0, 0, 0);
}

}  // namespace quillmere
