#pragma once
#include <xcb/xcb.h>

#include <QByteArray>
#include <vector>

namespace quillmere {

// What a selection gives for one target.
struct SelectionValue {
  xcb_atom_t type = XCB_ATOM_NONE;
  uint8_t format = 8;  // bits of a unit: 8, 16, 32
  QByteArray bytes;
};

struct SelectionTarget {
  xcb_atom_t target = XCB_ATOM_NONE;
  SelectionValue value;
  bool isText = false;  // fetching it counts as fetching the text
};

// All of it, as its owner offers it.
struct SelectionOffer {
  quint64 number = 0;
  xcb_timestamp_t since = XCB_CURRENT_TIME;
  bool isConcealed = false;
  std::vector<SelectionTarget> targets;
};

}  // namespace quillmere
