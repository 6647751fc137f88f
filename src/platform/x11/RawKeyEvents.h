#pragma once
#include <optional>

#include "platform/x11/XcbConnection.h"

namespace quillmere {

// The raw events of XInput 2 on a connection: of every keyboard and, where wanted, of every mouse, whoever has the
// focus or grabs them. Main thread.
class RawKeyEvents {
 public:
  struct Key {
    xcb_keycode_t code = 0;
    bool isPress = false;
  };

  // None where the server has no XInput 2. The connection outlives it.
  static std::optional<RawKeyEvents> on(XcbConnection& connection);

  enum class Selection { none, keys, keysAndButtons };
  // False when the server refuses.
  bool select(Selection selection);
  bool select(bool isOn) { return select(isOn ? Selection::keys : Selection::none); }
  // The key of an event of these; nothing for any other event.
  std::optional<Key> key(const xcb_generic_event_t& event) const;
  // A button of the mouse goes down, or its wheel turns.
  bool isButtonPress(const xcb_generic_event_t& event) const;

 private:
  RawKeyEvents(XcbConnection& connection, uint8_t opcode) : connection_(&connection), opcode_(opcode) {}

  bool isOurs(const xcb_generic_event_t& event) const;

  XcbConnection* connection_;
  uint8_t opcode_;
};

}  // namespace quillmere
