#pragma once
#include <xcb/xcb.h>

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

#include "platform/x11/SelectionValue.h"
#include "platform/x11/XcbAtoms.h"

namespace quillmere {

// Asks the owner of a selection for its contents. One thread, which waits in `pump`: that serves everything else
// meanwhile and hands the events of the window to handle().
class SelectionReader {
 public:
  using Deadline = std::chrono::steady_clock::time_point;
  // Handles events until the condition holds; false when the time is up or the connection is gone.
  using Pump = std::function<bool(Deadline deadline, const std::function<bool()>& condition)>;

  SelectionReader(xcb_connection_t* connection, xcb_window_t window, XcbAtoms& atoms, Pump pump);

  // Every target that is content, in the owner's order. What doesn't come in time is left out.
  std::vector<SelectionTarget> readAll(xcb_atom_t selection);
  // The first of the targets that the owner gives.
  std::optional<SelectionTarget> readFirst(xcb_atom_t selection, const std::vector<xcb_atom_t>& targets);
  // Asks the owner to do something; true when it says that it did.
  bool request(xcb_atom_t selection, xcb_atom_t target, std::chrono::milliseconds limit,
               const std::vector<xcb_atom_t>& argument = {});

  // True when the event belongs to a conversion.
  bool handle(const xcb_generic_event_t& event);

 private:
  enum class State { idle, asked, refused, answered };

  std::optional<SelectionValue> convert(xcb_atom_t selection, xcb_atom_t target, Deadline end);
  std::optional<SelectionValue> takeProperty();
  std::optional<SelectionValue> collectPieces(Deadline end);
  bool isContent(xcb_atom_t target);
  void prepare(xcb_atom_t selection, xcb_atom_t target);

  xcb_connection_t* const connection_;
  const xcb_window_t window_;
  XcbAtoms& atoms_;
  const Pump pump_;
  State state_ = State::idle;
  xcb_atom_t selection_ = XCB_ATOM_NONE;
  xcb_atom_t target_ = XCB_ATOM_NONE;
  xcb_atom_t property_ = XCB_ATOM_NONE;
  quint64 conversions_ = 0;
  bool hasNewPiece_ = false;
  bool isOwnerSilent_ = false;
};

}  // namespace quillmere
