#include "platform/x11/SelectionServer.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "platform/x11/XcbConnection.h"

namespace quillmere {
namespace {

constexpr std::chrono::seconds transferPatience{30};
constexpr qsizetype longestPiece = 256 * 1024;
constexpr qsizetype requestHeader = 256;

}  // namespace

SelectionServer::SelectionServer(xcb_connection_t* connection, xcb_window_t window, XcbAtoms& atoms, OnServed onServed)
    : connection_(connection),
      window_(window),
      atoms_(atoms),
      onServed_(std::move(onServed)),
      pieceSize_(std::min(longestPiece, qsizetype(xcb_get_maximum_request_length(connection)) * 4 - requestHeader) &
                 ~3) {}

bool SelectionServer::offer(xcb_atom_t selection, SelectionOffer offer) {
  const xcb_timestamp_t since = offer.since;
  xcb_set_selection_owner(connection_, window_, selection, since);
  if (!isOwner(selection)) {
    offers_.erase(selection);
    return false;
  }
  offers_[selection] = std::make_shared<const SelectionOffer>(std::move(offer));
  return true;
}

void SelectionServer::clear(xcb_atom_t selection, xcb_timestamp_t time) {
  offers_.erase(selection);
  xcb_set_selection_owner(connection_, window_, selection, time);
  xcb_set_selection_owner(connection_, XCB_NONE, selection, time);
}

const SelectionOffer* SelectionServer::offered(xcb_atom_t selection) const {
  const auto found = offers_.find(selection);
  return found == offers_.end() ? nullptr : found->second.get();
}

bool SelectionServer::isOwner(xcb_atom_t selection) const {
  const auto cookie = xcb_get_selection_owner(connection_, selection);
  const XcbPointer<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(connection_, cookie, nullptr));
  return reply && reply->owner == window_;
}

bool SelectionServer::handle(const xcb_generic_event_t& event, std::function<void(xcb_atom_t)> lost) {
  switch (event.response_type & 0x7f) {
    case XCB_SELECTION_REQUEST:
      answer(reinterpret_cast<const xcb_selection_request_event_t&>(event));
      return true;
    case XCB_SELECTION_CLEAR: {
      const auto& clear = reinterpret_cast<const xcb_selection_clear_event_t&>(event);
      // Late news of a selection that was taken back meanwhile.
      if (isOwner(clear.selection)) return true;
      if (offers_.erase(clear.selection) > 0) lost(clear.selection);
      return true;
    }
    case XCB_PROPERTY_NOTIFY: {
      const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
      return change.state == XCB_PROPERTY_DELETE && giveNextPiece(change.window, change.atom);
    }
    default:
      return false;
  }
}

void SelectionServer::answer(const xcb_selection_request_event_t& request) {
  xcb_selection_notify_event_t notify{};
  notify.response_type = XCB_SELECTION_NOTIFY;
  notify.time = request.time;
  notify.requestor = request.requestor;
  notify.selection = request.selection;
  notify.target = request.target;
  notify.property = XCB_NONE;
  const auto found = offers_.find(request.selection);
  if (found != offers_.end()) {
    const auto offer = found->second;
    // Programs of old name no property.
    const xcb_atom_t property = request.property == XCB_NONE ? request.target : request.property;
    const bool isGiven = request.target == atoms_.atom("MULTIPLE") ? giveSeveral(request, offer)
                                                                   : give(request, offer, request.target, property);
    if (isGiven) notify.property = property;
  }
  xcb_send_event(connection_, 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&notify));
  xcb_flush(connection_);
}

bool SelectionServer::give(const xcb_selection_request_event_t& request,
                           const std::shared_ptr<const SelectionOffer>& offer, xcb_atom_t target, xcb_atom_t property) {
  const xcb_window_t requestor = request.requestor;
  if (target == atoms_.atom("TARGETS")) {
    std::vector<xcb_atom_t> all{atoms_.atom("TARGETS"), atoms_.atom("TIMESTAMP"), atoms_.atom("MULTIPLE"),
                                atoms_.atom("SAVE_TARGETS")};
    for (const auto& one : offer->targets) all.push_back(one.target);
    giveAtoms(requestor, property, all);
    return true;
  }
  if (target == atoms_.atom("TIMESTAMP")) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, requestor, property, XCB_ATOM_INTEGER, 32, 1,
                        &offer->since);
    return true;
  }
  if (target == atoms_.atom("SAVE_TARGETS")) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, requestor, property, atoms_.atom("NULL"), 32, 0, nullptr);
    return true;
  }
  const auto found = std::find_if(offer->targets.begin(), offer->targets.end(),
                                  [&](const SelectionTarget& one) { return one.target == target; });
  if (found == offer->targets.end()) return false;
  const SelectionValue& value = found->value;
  if (value.bytes.size() > pieceSize_) {
    const uint32_t size = uint32_t(value.bytes.size());
    transfers_.push_back({request.selection, requestor, property, offer, size_t(found - offer->targets.begin()), 0,
                          std::chrono::steady_clock::now()});
    const uint32_t mask = eventsOf(requestor);
    xcb_change_window_attributes(connection_, requestor, XCB_CW_EVENT_MASK, &mask);
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, requestor, property, atoms_.atom("INCR"), 32, 1, &size);
    return true;
  }
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, requestor, property, value.type, value.format,
                      uint32_t(value.bytes.size() / (value.format / 8)), value.bytes.constData());
  onServed_(request.selection, *offer, *found, requestor);
  return true;
}

bool SelectionServer::giveSeveral(const xcb_selection_request_event_t& request,
                                  const std::shared_ptr<const SelectionOffer>& offer) {
  if (request.property == XCB_NONE) return false;
  constexpr uint32_t longest = 1024;
  const auto cookie =
      xcb_get_property(connection_, 0, request.requestor, request.property, XCB_GET_PROPERTY_TYPE_ANY, 0, longest);
  const XcbPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection_, cookie, nullptr));
  if (!reply || reply->format != 32) return false;
  const auto* const first = static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get()));
  std::vector<xcb_atom_t> pairs(first, first + xcb_get_property_value_length(reply.get()) / 4);
  for (size_t i = 0; i + 1 < pairs.size(); i += 2)
    if (pairs[i + 1] == XCB_NONE || !give(request, offer, pairs[i], pairs[i + 1])) pairs[i + 1] = XCB_NONE;
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, request.requestor, request.property, atoms_.atom("ATOM_PAIR"),
                      32, uint32_t(pairs.size()), pairs.data());
  return true;
}

void SelectionServer::giveAtoms(xcb_window_t requestor, xcb_atom_t property, const std::vector<xcb_atom_t>& atoms) {
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, requestor, property, XCB_ATOM_ATOM, 32,
                      uint32_t(atoms.size()), atoms.data());
}

bool SelectionServer::giveNextPiece(xcb_window_t requestor, xcb_atom_t property) {
  const auto transfer = std::find_if(transfers_.begin(), transfers_.end(), [&](const Transfer& one) {
    return one.requestor == requestor && one.property == property;
  });
  if (transfer == transfers_.end()) return false;
  const SelectionTarget& target = transfer->offer->targets[transfer->target];
  const SelectionValue& value = target.value;
  const qsizetype size = std::min(pieceSize_, value.bytes.size() - transfer->sent);
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, requestor, property, value.type, value.format,
                      uint32_t(size / (value.format / 8)), value.bytes.constData() + transfer->sent);
  xcb_flush(connection_);
  transfer->sent += size;
  transfer->lastProgress = std::chrono::steady_clock::now();
  if (size > 0) return true;
  // The empty piece says that this was all.
  const Transfer over = *transfer;
  transfers_.erase(transfer);
  const uint32_t mask = eventsOf(requestor);
  xcb_change_window_attributes(connection_, requestor, XCB_CW_EVENT_MASK, &mask);
  onServed_(over.selection, *over.offer, target, requestor);
  return true;
}

void SelectionServer::forgetStale(std::chrono::steady_clock::time_point now) {
  std::erase_if(transfers_, [&](const Transfer& one) { return now - one.lastProgress > transferPatience; });
}

bool SelectionServer::watchEnd(xcb_window_t requestor) {
  const uint32_t mask = eventsOf(requestor);
  const auto cookie = xcb_change_window_attributes_checked(connection_, requestor, XCB_CW_EVENT_MASK, &mask);
  return !XcbPointer<xcb_generic_error_t>(xcb_request_check(connection_, cookie));
}

uint32_t SelectionServer::eventsOf(xcb_window_t requestor) const {
  const bool isReceiving = std::any_of(transfers_.begin(), transfers_.end(),
                                       [&](const Transfer& one) { return one.requestor == requestor; });
  return XCB_EVENT_MASK_STRUCTURE_NOTIFY |
         (isReceiving ? uint32_t(XCB_EVENT_MASK_PROPERTY_CHANGE) : uint32_t(XCB_EVENT_MASK_NO_EVENT));
}

}  // namespace quillmere
