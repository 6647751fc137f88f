#pragma once
#include <xcb/xcb.h>

#include <chrono>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <vector>

#include "platform/x11/SelectionValue.h"
#include "platform/x11/XcbAtoms.h"

namespace quillmere {

// Answers the programs that ask for a selection of ours: whole or, when it is long, piece by piece (INCR). One thread.
class SelectionServer {
 public:
  // A program got a value to its end.
  using OnServed =
      std::function<void(xcb_atom_t selection, const SelectionOffer&, const SelectionTarget&, xcb_window_t requestor)>;

  SelectionServer(xcb_connection_t* connection, xcb_window_t window, XcbAtoms& atoms, OnServed onServed);

  // Takes the selection, or takes it over from an older offer of ours. False when another program kept it.
  bool offer(xcb_atom_t selection, SelectionOffer offer);
  // Empties the selection, whoever has it.
  void clear(xcb_atom_t selection, xcb_timestamp_t time);
  // Null when the selection isn't ours.
  const SelectionOffer* offered(xcb_atom_t selection) const;

  // True when the event was for this server. `lost` tells a selection that another program took.
  bool handle(const xcb_generic_event_t& event, std::function<void(xcb_atom_t selection)> lost);
  // Forgets transfers to programs that stopped asking.
  void forgetStale(std::chrono::steady_clock::time_point now);
  // Lets the end of a requestor's window come as an event (DestroyNotify). False when it has ended already.
  bool watchEnd(xcb_window_t requestor);
  bool isTransferring() const { return !transfers_.empty(); }

 private:
  struct Transfer {
    xcb_atom_t selection;
    xcb_window_t requestor;
    xcb_atom_t property;
    std::shared_ptr<const SelectionOffer> offer;
    size_t target;
    qsizetype sent = 0;
    std::chrono::steady_clock::time_point lastProgress;
  };

  void answer(const xcb_selection_request_event_t& request);
  bool give(const xcb_selection_request_event_t& request, const std::shared_ptr<const SelectionOffer>& offer,
            xcb_atom_t target, xcb_atom_t property);
  bool giveSeveral(const xcb_selection_request_event_t& request, const std::shared_ptr<const SelectionOffer>& offer);
  void giveAtoms(xcb_window_t requestor, xcb_atom_t property, const std::vector<xcb_atom_t>& atoms);
  bool giveNextPiece(xcb_window_t requestor, xcb_atom_t property);
  uint32_t eventsOf(xcb_window_t requestor) const;
  bool isOwner(xcb_atom_t selection) const;

  xcb_connection_t* const connection_;
  const xcb_window_t window_;
  XcbAtoms& atoms_;
  const OnServed onServed_;
  const qsizetype pieceSize_;
  std::map<xcb_atom_t, std::shared_ptr<const SelectionOffer>> offers_;
  std::list<Transfer> transfers_;
};

}  // namespace quillmere
