#include "platform/x11/XkbKeyboard.h"

#include <xkbcommon/xkbcommon-x11.h>

#include "platform/x11/KeySymbols.h"
#include "platform/x11/XkbHeader.h"

namespace quillmere {
namespace {

constexpr uint16_t watchedEvents =
    XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY | XCB_XKB_EVENT_TYPE_STATE_NOTIFY;
constexpr uint16_t watchedMapParts = XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS |
                                     XCB_XKB_MAP_PART_MODIFIER_MAP | XCB_XKB_MAP_PART_VIRTUAL_MODS |
                                     XCB_XKB_MAP_PART_VIRTUAL_MOD_MAP;

Failed<PlatformError> failed(const char* description) {
  return Failed{PlatformError{QStringLiteral("x11"), 0, QString::fromLatin1(description)}};
}

xkb_keysym_t symbolAt(xkb_keymap* keymap, xkb_keycode_t code, xkb_layout_index_t layout, xkb_level_index_t level) {
  const xkb_layout_index_t layouts = xkb_keymap_num_layouts_for_key(keymap, code);
  if (layouts == 0) return XKB_KEY_NoSymbol;
  const xkb_keysym_t* symbols = nullptr;
  const int count = xkb_keymap_key_get_syms_by_level(keymap, code, layout % layouts, level, &symbols);
  return count > 0 ? symbols[0] : XKB_KEY_NoSymbol;
}

std::vector<XkbKeyboard::Key> keysOn(xkb_keymap* keymap, xkb_layout_index_t layout, xkb_keysym_t symbol) {
  std::vector<XkbKeyboard::Key> keys;
  const xkb_keycode_t last = std::min<xkb_keycode_t>(xkb_keymap_max_keycode(keymap), 255);
  for (const bool needsShift : {false, true}) {
    for (xkb_keycode_t code = xkb_keymap_min_keycode(keymap); code <= last; ++code) {
      if (symbolAt(keymap, code, layout, needsShift ? 1 : 0) != symbol) continue;
      keys.push_back({xcb_keycode_t(code), needsShift});
      if (needsShift) return keys;
    }
    if (!keys.empty()) return keys;
  }
  return keys;
}

}  // namespace

Result<std::unique_ptr<XkbKeyboard>, PlatformError> XkbKeyboard::open(XcbConnection& connection) {
  uint8_t firstEvent = 0;
  if (!xkb_x11_setup_xkb_extension(connection.raw(), XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                   XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &firstEvent, nullptr))
    return failed("The X server has no keyboard extension.");
  const int32_t device = xkb_x11_get_core_keyboard_device_id(connection.raw());
  if (device < 0) return failed("The X server has no keyboard.");
  std::unique_ptr<XkbKeyboard> keyboard(new XkbKeyboard(connection, device, firstEvent));
  if (!keyboard->load()) return failed("The layout of the keyboard can't be read.");
  return keyboard;
}

XkbKeyboard::XkbKeyboard(XcbConnection& connection, int32_t device, uint8_t firstEvent)
    : connection_(connection),
      device_(device),
      firstEvent_(firstEvent),
      context_(xkb_context_new(XKB_CONTEXT_NO_FLAGS), &xkb_context_unref),
      keymap_(nullptr, &xkb_keymap_unref),
      unitedStates_(nullptr, &xkb_keymap_unref) {
  xkb_context_set_log_level(context_.get(), XKB_LOG_LEVEL_CRITICAL);
  events_ = connection.observeEvents([this](const xcb_generic_event_t& event) { onEvent(event); });
  xcb_xkb_select_events_details_t details{};
  details.affectNewKeyboard = details.newKeyboardDetails = XCB_XKB_NKN_DETAIL_KEYCODES;
  details.affectState = details.stateDetails = XCB_XKB_STATE_PART_GROUP_STATE;
  xcb_xkb_select_events_aux(connection.raw(), xcb_xkb_device_spec_t(device), watchedEvents, 0, 0, watchedMapParts,
                            watchedMapParts, &details);
}

XkbKeyboard::~XkbKeyboard() = default;

bool XkbKeyboard::load() {
  Keymap keymap(xkb_x11_keymap_new_from_device(context_.get(), connection_.raw(), device_, XKB_KEYMAP_COMPILE_NO_FLAGS),
                &xkb_keymap_unref);
  if (!keymap) return false;
  const std::unique_ptr<xkb_state, decltype(&xkb_state_unref)> state(
      xkb_x11_state_new_from_device(keymap.get(), connection_.raw(), device_), &xkb_state_unref);
  if (!state) return false;
  layout_ = xkb_state_serialize_layout(state.get(), XKB_STATE_LAYOUT_EFFECTIVE);
  keymap_ = std::move(keymap);
  loadMasks();
  return true;
}

void XkbKeyboard::loadMasks() {
  const auto cookie = xcb_get_modifier_mapping(connection_.raw());
  const XcbPointer<xcb_get_modifier_mapping_reply_t> reply(
      xcb_get_modifier_mapping_reply(connection_.raw(), cookie, nullptr));
  if (!reply) return;
  const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(reply.get());
  masks_ = Masks();
  // The first modifier that has the key counts.
  for (int modifier = 7; modifier >= 3; --modifier) {
    for (int i = 0; i < reply->keycodes_per_modifier; ++i) {
      const xkb_keysym_t symbol = symbolAt(keymap_.get(), codes[modifier * reply->keycodes_per_modifier + i], 0, 0);
      const auto mask = uint16_t(1u << modifier);
      if (symbol == XKB_KEY_Num_Lock) masks_.numLock = mask;
      if (symbol == XKB_KEY_Alt_L) masks_.alt = mask;
      if (symbol == XKB_KEY_Super_L) masks_.super = mask;
    }
  }
}

void XkbKeyboard::refresh() {
  if (!isStale_) return;
  isStale_ = false;
  load();
}

void XkbKeyboard::onEvent(const xcb_generic_event_t& event) {
  const uint8_t type = event.response_type & 0x7f;
  if (type == XCB_MAPPING_NOTIFY) {
    isStale_ = true;
    return announce();
  }
  if (type != firstEvent_) return;
  switch (event.pad0) {
    case XCB_XKB_NEW_KEYBOARD_NOTIFY:
    case XCB_XKB_MAP_NOTIFY:
      isStale_ = true;
      return announce();
    case XCB_XKB_STATE_NOTIFY: {
      const auto& state = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event);
      if (state.group == layout_) return;
      layout_ = state.group;
      return announce();
    }
    default:
      return;
  }
}

// A change of the layouts comes as several events.
void XkbKeyboard::announce() {
  if (std::exchange(isAnnounced_, true)) return;
  QMetaObject::invokeMethod(
      &receiver_,
      [this] {
        isAnnounced_ = false;
        refresh();
        if (const auto onChanged = onChanged_) onChanged();
      },
      Qt::QueuedConnection);
}

xkb_keymap* XkbKeyboard::unitedStates() {
  if (!unitedStates_ && hasUnitedStates_) {
    const xkb_rule_names names{.rules = "evdev", .model = "pc105", .layout = "us", .variant = "", .options = ""};
    unitedStates_.reset(xkb_keymap_new_from_names(context_.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS));
    hasUnitedStates_ = unitedStates_ != nullptr;
  }
  return unitedStates_.get();
}

std::vector<XkbKeyboard::Key> XkbKeyboard::keysOnLayoutsFor(xkb_keysym_t symbol) {
  refresh();
  std::vector<Key> keys = keysOn(keymap_.get(), layout_, symbol);
  for (xkb_layout_index_t layout = 0; keys.empty() && layout < xkb_keymap_num_layouts(keymap_.get()); ++layout)
    keys = keysOn(keymap_.get(), layout, symbol);
  return keys;
}

std::vector<XkbKeyboard::Key> XkbKeyboard::keysFor(xkb_keysym_t symbol) {
  std::vector<Key> keys = keysOnLayoutsFor(symbol);
  if (keys.empty() && unitedStates()) keys = keysOn(unitedStates(), 0, symbol);
  return keys;
}

xkb_keysym_t XkbKeyboard::plainSymbol(xcb_keycode_t code) {
  refresh();
  return symbolAt(keymap_.get(), code, layout_, 0);
}

xkb_keysym_t XkbKeyboard::latinSymbol(xcb_keycode_t code) {
  const xkb_keysym_t plain = plainSymbol(code);
  if (!isForeignLetter(plain)) return plain;
  for (xkb_layout_index_t layout = 0; layout < xkb_keymap_num_layouts(keymap_.get()); ++layout) {
    const xkb_keysym_t symbol = symbolAt(keymap_.get(), code, layout, 0);
    if (symbol != XKB_KEY_NoSymbol && !isForeignLetter(symbol)) return symbol;
  }
  return unitedStates() ? symbolAt(unitedStates(), code, 0, 0) : plain;
}

xkb_keysym_t XkbKeyboard::baseSymbol(xcb_keycode_t code) {
  refresh();
  return symbolAt(keymap_.get(), code, 0, 0);
}

XkbKeyboard::Masks XkbKeyboard::masks() {
  refresh();
  return masks_;
}

void XkbKeyboard::unlockCapitals() {
  constexpr uint8_t noLocks = 0;
  xcb_xkb_latch_lock_state(connection_.raw(), xcb_xkb_device_spec_t(device_), XCB_MOD_MASK_LOCK, noLocks, 0, 0, 0, 0,
                           0);
  connection_.flush();
}

}  // namespace quillmere
