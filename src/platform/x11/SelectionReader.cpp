#include "platform/x11/SelectionReader.h"

#include <QList>
#include <algorithm>
#include <cstring>

#include "platform/x11/XcbConnection.h"

namespace quillmere {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds longestSilence{1000};
constexpr std::chrono::milliseconds longestRead{2000};
// A late answer of an owner that was given up must not be taken for the answer to a later question.
constexpr int propertyCount = 16;

// Targets that are questions about the selection or orders to its owner.
const QList<QByteArray>& pseudoTargets() {
  static const QList<QByteArray> names{"TARGETS",
                                       "MULTIPLE",
                                       "TIMESTAMP",
                                       "SAVE_TARGETS",
                                       "DELETE",
                                       "INSERT_SELECTION",
                                       "INSERT_PROPERTY",
                                       "LENGTH",
                                       "LIST_LENGTH",
                                       "CHARACTER_POSITION",
                                       "LINE_NUMBER",
                                       "COLUMN_NUMBER",
                                       "HOST_NAME",
                                       "HOSTNAME",
                                       "USER",
                                       "CLASS",
                                       "NAME",
                                       "CLIENT_WINDOW",
                                       "PROCESS",
                                       "TASK",
                                       "OWNER_OS",
                                       "INCR",
                                       "ATOM_PAIR"};
  return names;
}

}  // namespace

SelectionReader::SelectionReader(xcb_connection_t* connection, xcb_window_t window, XcbAtoms& atoms, Pump pump)
    : connection_(connection), window_(window), atoms_(atoms), pump_(std::move(pump)) {}

std::vector<SelectionTarget> SelectionReader::readAll(xcb_atom_t selection) {
  const auto end = steady_clock::now() + longestRead;
  std::vector<SelectionTarget> contents;
  isOwnerSilent_ = false;
  const auto list = convert(selection, atoms_.atom("TARGETS"), end);
  if (!list || list->format != 32) return contents;
  std::vector<xcb_atom_t> targets(size_t(list->bytes.size()) / sizeof(xcb_atom_t));
  std::memcpy(targets.data(), list->bytes.constData(), targets.size() * sizeof(xcb_atom_t));
  for (const xcb_atom_t target : targets) {
    if (isOwnerSilent_ || steady_clock::now() >= end) break;
    const bool isKnown =
        std::any_of(contents.begin(), contents.end(), [&](const SelectionTarget& one) { return one.target == target; });
    if (isKnown || !isContent(target)) continue;
    if (auto value = convert(selection, target, end)) contents.push_back({target, std::move(*value), false});
  }
  return contents;
}

std::optional<SelectionTarget> SelectionReader::readFirst(xcb_atom_t selection,
                                                          const std::vector<xcb_atom_t>& targets) {
  const auto end = steady_clock::now() + longestRead;
  isOwnerSilent_ = false;
  for (const xcb_atom_t target : targets) {
    if (isOwnerSilent_) break;
    if (auto value = convert(selection, target, end)) return SelectionTarget{target, std::move(*value), false};
  }
  return std::nullopt;
}

bool SelectionReader::request(xcb_atom_t selection, xcb_atom_t target, std::chrono::milliseconds limit,
                              const std::vector<xcb_atom_t>& argument) {
  prepare(selection, target);
  if (!argument.empty())
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, property_, XCB_ATOM_ATOM, 32,
                        uint32_t(argument.size()), argument.data());
  xcb_convert_selection(connection_, window_, selection, target, property_, XCB_CURRENT_TIME);
  pump_(steady_clock::now() + limit, [this] { return state_ != State::asked; });
  const bool isDone = state_ == State::answered;
  state_ = State::idle;
  xcb_delete_property(connection_, window_, property_);
  return isDone;
}

bool SelectionReader::handle(const xcb_generic_event_t& event) {
  switch (event.response_type & 0x7f) {
    case XCB_SELECTION_NOTIFY: {
      const auto& notify = reinterpret_cast<const xcb_selection_notify_event_t&>(event);
      if (notify.requestor != window_) return false;
      if (state_ != State::asked) return true;
      if (notify.property == property_)
        state_ = State::answered;
      else if (notify.property == XCB_NONE && notify.selection == selection_ && notify.target == target_)
        state_ = State::refused;
      return true;
    }
    case XCB_PROPERTY_NOTIFY: {
      const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
      if (change.window != window_) return false;
      if (change.atom == property_ && change.state == XCB_PROPERTY_NEW_VALUE) hasNewPiece_ = true;
      return true;
    }
    default:
      return false;
  }
}

void SelectionReader::prepare(xcb_atom_t selection, xcb_atom_t target) {
  selection_ = selection;
  target_ = target;
  property_ = atoms_.atom("QUILLMERE_SELECTION_" + QByteArray::number(int(conversions_++ % propertyCount)));
  xcb_delete_property(connection_, window_, property_);
  state_ = State::asked;
  hasNewPiece_ = false;
}

std::optional<SelectionValue> SelectionReader::convert(xcb_atom_t selection, xcb_atom_t target, Deadline end) {
  prepare(selection, target);
  xcb_convert_selection(connection_, window_, selection, target, property_, XCB_CURRENT_TIME);
  const bool isAnswered =
      pump_(std::min(end, steady_clock::now() + longestSilence), [this] { return state_ != State::asked; });
  const State state = std::exchange(state_, State::idle);
  if (!isAnswered) isOwnerSilent_ = true;
  if (state != State::answered) return std::nullopt;
  hasNewPiece_ = false;
  auto value = takeProperty();
  if (!value || value->type != atoms_.atom("INCR")) return value;
  return collectPieces(end);
}

// Deleting the property is what tells the owner that it was read.
std::optional<SelectionValue> SelectionReader::takeProperty() {
  constexpr uint32_t longest = 0x1fffffff;
  const auto cookie = xcb_get_property(connection_, 1, window_, property_, XCB_GET_PROPERTY_TYPE_ANY, 0, longest);
  const XcbPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection_, cookie, nullptr));
  if (!reply || reply->type == XCB_ATOM_NONE || reply->format == 0) return std::nullopt;
  return SelectionValue{reply->type, reply->format,
                        QByteArray(static_cast<const char*>(xcb_get_property_value(reply.get())),
                                   xcb_get_property_value_length(reply.get()))};
}

std::optional<SelectionValue> SelectionReader::collectPieces(Deadline end) {
  SelectionValue whole;
  for (;;) {
    if (!pump_(std::min(end, steady_clock::now() + longestSilence), [this] { return hasNewPiece_; })) {
      isOwnerSilent_ = true;
      return std::nullopt;
    }
    hasNewPiece_ = false;
    const auto piece = takeProperty();
    if (!piece) continue;  // the news of a piece that was taken already
    if (whole.type == XCB_ATOM_NONE) {
      whole.type = piece->type;
      whole.format = piece->format;
    }
    if (piece->bytes.isEmpty()) return whole;
    whole.bytes += piece->bytes;
  }
}

bool SelectionReader::isContent(xcb_atom_t target) {
  const QByteArray name = atoms_.name(target);
  return !name.isEmpty() && !pseudoTargets().contains(name);
}

}  // namespace quillmere
