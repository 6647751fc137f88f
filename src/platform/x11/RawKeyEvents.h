#pragma once
#include <optional>

#include "platform/x11/XcbConnection.h"

namespace quillmere {

// The raw key events of XInput 2 on a connection: of every keyboard, whoever has the focus or grabs it. Main thread.
class RawKeyEvents {
 public:
  struct Key {
    xcb_keycode_t code = 0;
    bool isPress = false;
  };

  // None where the server has no XInput 2. The connection outlives it.
  static std::optional<RawKeyEvents> on(XcbConnection& connection);

  // False when the server refuses.
  bool select(bool isOn);
  // The key of an event of these; nothing for any other event.
  std::optional<Key> key(const xcb_generic_event_t& event) const;

 private:
  RawKeyEvents(XcbConnection& connection, uint8_t opcode) : connection_(&connection), opcode_(opcode) {}

  XcbConnection* connection_;
  uint8_t opcode_;
};

}  // namespace quillmere
