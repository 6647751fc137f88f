#include "platform/x11/X11GlobalShortcuts.h"

#include "base/async/Async.h"
#include "base/text/LocalizedText.h"
#include "platform/x11/DetectableAutoRepeat.h"
#include "platform/x11/KeySymbols.h"

namespace quillmere {
namespace {

constexpr uint16_t control = XCB_MOD_MASK_CONTROL;
constexpr uint16_t shift = XCB_MOD_MASK_SHIFT;
constexpr uint16_t capsLock = XCB_MOD_MASK_LOCK;

constexpr int grabAttempts = 20;
constexpr auto betweenGrabAttempts = std::chrono::milliseconds(100);

Failed<PlatformError> failed(int code, QString description) {
  return Failed{PlatformError{QStringLiteral("x11"), code, std::move(description)}};
}

uint16_t modifiersOf(const KeyCombination& keys, const XkbKeyboard::Masks& masks) {
  return uint16_t((keys.control ? control : 0) | (keys.alt ? masks.alt : 0) | (keys.shift ? shift : 0) |
                  (keys.super ? masks.super : 0));
}

QString nameOf(xkb_keysym_t symbol) {
  char name[64] = {};
  return xkb_keysym_get_name(symbol, name, sizeof name) > 0 ? QString::fromLatin1(name) : QString();
}

}  // namespace

X11GlobalShortcuts::X11GlobalShortcuts(const Logging& logging, const QString& displayName)
    : logger_(logging.logger(QStringLiteral("GlobalShortcuts"))) {
  if (!connect(displayName)) logger_.info("No global shortcuts: %{public}s", unavailability_);
}

X11GlobalShortcuts::~X11GlobalShortcuts() = default;

bool X11GlobalShortcuts::connect(const QString& displayName) {
  auto connection = XcbConnection::open(displayName);
  if (!connection) {
    unavailability_ = connection.error().description;
    return false;
  }
  auto keyboard = XkbKeyboard::open(**connection);
  if (!keyboard) {
    unavailability_ = keyboard.error().description;
    return false;
  }
  if (!makeAutoRepeatDetectable(**connection))
    logger_.warning("The X server repeats releases: a held shortcut may react more than once");
  connection_ = *std::move(connection);
  keyboard_ = *std::move(keyboard);
  events_ = connection_->observeEvents([this](const xcb_generic_event_t& event) { onEvent(event); });
  connection_->setOnClosed([this] { onClosed(); });
  keyboard_->setOnChanged([this] { onKeyboardChanged(); });
  return true;
}

bool X11GlobalShortcuts::isAvailable() const {
  return connection_ && connection_->isOpen();
}

Result<void, PlatformError> X11GlobalShortcuts::setShortcut(const QString& name, std::optional<KeyCombination> keys) {
  if (!keys) {
    const auto entry = entries_.find(name);
    if (entry == entries_.end()) return {};
    entry->second.keys.reset();
    setGrabs(name, entry->second);
    return {};
  }
  if (!isAvailable()) return failed(0, localizedText("shortcuts.error.noDisplay", unavailability_));
  const Grabs grabs = grabsOf(*keys);
  if (grabs.empty()) return failed(0, localizedText("shortcuts.error.noSuchKey", keys->key));
  for (const auto& [other, entry] : entries_) {
    if (other == name || !entry.keys) continue;
    for (const Grab& grab : grabsOf(*entry.keys))
      if (std::find(grabs.begin(), grabs.end(), grab) != grabs.end())
        return failed(XCB_ACCESS, localizedText("shortcuts.error.takenByShortcut", keys->text()));
  }
  Entry& entry = entries_[name];
  // Takes it also for a shortcut that doesn't react now, to learn whether it could.
  Grabs fresh;
  for (const Grab& grab : grabs)
    if (std::find(entry.grabs.begin(), entry.grabs.end(), grab) == entry.grabs.end()) fresh.push_back(grab);
  if (!takeGrabs(fresh)) return failed(XCB_ACCESS, localizedText("shortcuts.error.takenByProgram", keys->text()));
  entry.keys = std::move(keys);
  entry.grabs.insert(entry.grabs.end(), fresh.begin(), fresh.end());
  setGrabs(name, entry);
  return {};
}

std::optional<KeyCombination> X11GlobalShortcuts::shortcut(const QString& name) const {
  const auto entry = entries_.find(name);
  return entry == entries_.end() ? std::nullopt : entry->second.keys;
}

void X11GlobalShortcuts::setHandlers(const QString& name, Handlers handlers) {
  Entry& entry = entries_[name];
  entry.handlers = std::move(handlers);
  setGrabs(name, entry);
}

void X11GlobalShortcuts::setEnabled(const QString& name, bool isEnabled) {
  Entry& entry = entries_[name];
  entry.isEnabled = isEnabled;
  setGrabs(name, entry);
}

void X11GlobalShortcuts::yieldKeys(const QStringList& keys) {
  yieldedKeys_ = keys;
  for (auto& [name, entry] : entries_) setGrabs(name, entry);
}

Task<std::optional<KeyCombination>> X11GlobalShortcuts::recordCombination(EscapeKey escape) {
  endRecording();
  if (!isAvailable()) co_return std::nullopt;
  const auto recording = std::make_shared<Recording>();
  recording->escape = escape;
  recording_ = recording;
  // A later recording has taken over the keyboard, too.
  const Subscription end([this, recording] {
    if (recording_ != recording) return;
    recording_.reset();
    releaseKeyboard();
  });
  for (int attempt = 1; !takeKeyboard(); ++attempt) {
    if (attempt == grabAttempts || recording->result.isResolved() || !isAvailable()) {
      logger_.warning("The keyboard can't be taken to record a shortcut");
      co_return std::nullopt;
    }
    co_await sleepFor(betweenGrabAttempts);
  }
  co_return co_await recording->result.wait();
}

bool X11GlobalShortcuts::takeKeyboard() {
  xcb_connection_t* const raw = connection_->raw();
  const auto cookie =
      xcb_grab_keyboard(raw, 0, connection_->root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
  const XcbPointer<xcb_grab_keyboard_reply_t> reply(xcb_grab_keyboard_reply(raw, cookie, nullptr));
  return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

void X11GlobalShortcuts::releaseKeyboard() {
  xcb_ungrab_keyboard(connection_->raw(), XCB_CURRENT_TIME);
  connection_->synchronize();
}

X11GlobalShortcuts::Grabs X11GlobalShortcuts::grabsOf(const KeyCombination& keys) {
  Grabs grabs;
  if (!keyboard_) return grabs;
  const xkb_keysym_t symbol = xkb_keysym_from_name(keys.key.toLatin1().constData(), XKB_KEYSYM_NO_FLAGS);
  if (symbol == XKB_KEY_NoSymbol) return grabs;
  const uint16_t modifiers = modifiersOf(keys, keyboard_->masks());
  for (const XkbKeyboard::Key& key : keyboard_->keysFor(symbol))
    grabs.push_back({key.code, uint16_t(modifiers | (key.needsShift ? shift : 0))});
  return grabs;
}

bool X11GlobalShortcuts::isWanted(const Entry& entry) const {
  if (!entry.keys || !entry.isEnabled || !(entry.handlers.onKeyDown || entry.handlers.onKeyUp)) return false;
  const KeyCombination alone{.key = entry.keys->key};
  return *entry.keys != alone || !yieldedKeys_.contains(alone.key);
}

// All of them or none.
bool X11GlobalShortcuts::takeGrabs(const Grabs& grabs) {
  const uint16_t numLock = keyboard_->masks().numLock;
  std::vector<xcb_void_cookie_t> requests;
  for (const Grab& grab : grabs)
    for (const uint16_t locks : {uint16_t(0), capsLock, numLock, uint16_t(capsLock | numLock)})
      requests.push_back(xcb_grab_key_checked(connection_->raw(), 0, connection_->root(), grab.modifiers | locks,
                                              grab.code, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
  bool isTaken = connection_->isOpen();
  for (const xcb_void_cookie_t request : requests)
    if (connection_->errorOf(request)) isTaken = false;
  if (!isTaken) releaseGrabs(grabs);
  return isTaken;
}

void X11GlobalShortcuts::releaseGrabs(const Grabs& grabs) {
  if (grabs.empty()) return;
  const uint16_t numLock = keyboard_->masks().numLock;
  for (const Grab& grab : grabs)
    for (const uint16_t locks : {uint16_t(0), capsLock, numLock, uint16_t(capsLock | numLock)})
      xcb_ungrab_key(connection_->raw(), grab.code, connection_->root(), grab.modifiers | locks);
  connection_->synchronize();
}

// Makes what the server has for the entry what it should have.
void X11GlobalShortcuts::setGrabs(const QString& name, Entry& entry) {
  if (!isWanted(entry)) entry.heldKey.reset();
  if (!isAvailable()) return;
  const Grabs wanted = isWanted(entry) ? grabsOf(*entry.keys) : Grabs();
  const auto missingIn = [](const Grabs& all, const Grabs& some) {
    Grabs missing;
    for (const Grab& grab : all)
      if (std::find(some.begin(), some.end(), grab) == some.end()) missing.push_back(grab);
    return missing;
  };
  releaseGrabs(missingIn(entry.grabs, wanted));
  std::erase_if(entry.grabs,
                [&](const Grab& grab) { return std::find(wanted.begin(), wanted.end(), grab) == wanted.end(); });
  for (const Grab& grab : missingIn(wanted, entry.grabs)) {
    if (takeGrabs({grab}))
      entry.grabs.push_back(grab);
    else
      logger_.warning("Another program has the key of the shortcut %{public}s", name);
  }
}

void X11GlobalShortcuts::onKeyboardChanged() {
  // One shortcut may take over a key that another one leaves.
  for (auto& [name, entry] : entries_) {
    const Grabs wanted = isWanted(entry) ? grabsOf(*entry.keys) : Grabs();
    for (const Grab& grab : Grabs(entry.grabs)) {
      if (std::find(wanted.begin(), wanted.end(), grab) != wanted.end()) continue;
      releaseGrabs({grab});
      std::erase(entry.grabs, grab);
    }
  }
  for (auto& [name, entry] : entries_) setGrabs(name, entry);
}

void X11GlobalShortcuts::onEvent(const xcb_generic_event_t& event) {
  const uint8_t type = event.response_type & 0x7f;
  if (type == XCB_KEY_PRESS) onKeyPress(reinterpret_cast<const xcb_key_press_event_t&>(event));
  if (type == XCB_KEY_RELEASE) onKeyRelease(reinterpret_cast<const xcb_key_press_event_t&>(event));
}

void X11GlobalShortcuts::onKeyPress(const xcb_key_press_event_t& event) {
  if (recording_) return recordKeyPress(event);
  const XkbKeyboard::Masks masks = keyboard_->masks();
  const uint16_t modifiers = event.state & (control | shift | masks.alt | masks.super);
  for (auto& [name, entry] : entries_) {
    if (!isWanted(entry)) continue;
    const Grab pressed{event.detail, modifiers};
    if (std::find(entry.grabs.begin(), entry.grabs.end(), pressed) == entry.grabs.end()) continue;
    if (std::exchange(entry.heldKey, event.detail) == event.detail) return;  // the key repeats
    const auto handler = entry.handlers.onKeyDown;
    if (handler) handler();
    return;
  }
}

void X11GlobalShortcuts::onKeyRelease(const xcb_key_press_event_t& event) {
  // Only now: the key would go on repeating for whoever has it as a shortcut.
  if (recording_ && event.detail == recording_->keyDown) recording_->result.resolve(recording_->keys);
  for (auto& [name, entry] : entries_) {
    if (entry.heldKey != event.detail) continue;
    entry.heldKey.reset();
    const auto handler = entry.handlers.onKeyUp;
    if (handler) handler();
    return;
  }
}

void X11GlobalShortcuts::recordKeyPress(const xcb_key_press_event_t& event) {
  if (recording_->keyDown != 0 || isModifierSymbol(keyboard_->baseSymbol(event.detail))) return;
  const QString key = nameOf(keyboard_->latinSymbol(event.detail));
  if (key.isEmpty() || key == QLatin1String("NoSymbol")) return;
  const XkbKeyboard::Masks masks = keyboard_->masks();
  KeyCombination keys;
  keys.control = event.state & control;
  keys.alt = event.state & masks.alt;
  keys.shift = event.state & shift;
  keys.super = event.state & masks.super;
  keys.key = key;
  recording_->keyDown = event.detail;
  const bool isEnd = recording_->escape == EscapeKey::endsRecording && keys == KeyCombination{.key = "Escape"};
  if (!isEnd) recording_->keys = keys;
}

void X11GlobalShortcuts::endRecording() {
  if (const auto recording = std::exchange(recording_, nullptr)) recording->result.resolve(std::nullopt);
}

void X11GlobalShortcuts::onClosed() {
  logger_.warning("No global shortcuts any more: the X server is gone");
  unavailability_ = QStringLiteral("The X server is gone.");
  for (auto& [name, entry] : entries_) {
    entry.grabs.clear();
    entry.heldKey.reset();
  }
  endRecording();
}

}  // namespace quillmere
