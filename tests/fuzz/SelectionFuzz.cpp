#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/x11/SelectionReader.h"

namespace {

using namespace quillmere;

constexpr xcb_window_t ownWindow = 7;
constexpr xcb_atom_t selection = 500;

// An X server and the owner of a selection, who does what the input says. A byte that isn't there is zero.
struct Owner {
  const unsigned char* next = nullptr;
  const unsigned char* end = nullptr;
  std::vector<QByteArray> atoms{QByteArray()};  // by number
  xcb_atom_t target = XCB_ATOM_NONE;            // of the last question
  xcb_atom_t property = XCB_ATOM_NONE;

  unsigned char byte() { return next < end ? *next++ : 0; }
  bool isDone() const { return next >= end; }
  xcb_atom_t atom(const QByteArray& name) {
    const auto known = std::find(atoms.begin(), atoms.end(), name);
    if (known == atoms.end()) return atoms.push_back(name), xcb_atom_t(atoms.size() - 1);
    return xcb_atom_t(known - atoms.begin());
  }
};
Owner* owner = nullptr;

// A reply with so many bytes after it, which the caller frees.
template <typename Reply>
Reply* makeReply(std::size_t bytes) {
  void* const memory = std::calloc(1, sizeof(Reply) + bytes);
  if (!memory) std::abort();
  return new (memory) Reply;
}

union Event {
  xcb_generic_event_t any;
  xcb_selection_notify_event_t answer;
  xcb_property_notify_event_t change;
};

// Waits for what the owner does next. True when the condition holds.
bool pump(SelectionReader& reader, const std::function<bool()>& condition) {
  while (!condition() && !owner->isDone()) {
    Event event{};
    switch (owner->byte() % 5) {
      case 0:
        return false;  // nothing comes in time
      case 1:
        event.answer = {XCB_SELECTION_NOTIFY, 0, 0, 0, ownWindow, selection, owner->target, owner->property};
        break;
      case 2:
        event.answer = {XCB_SELECTION_NOTIFY, 0, 0, 0, ownWindow, selection, owner->target, XCB_NONE};
        break;
      case 3:
        event.change = {XCB_PROPERTY_NOTIFY, 0, 0, ownWindow, owner->property, 0, XCB_PROPERTY_NEW_VALUE, {}};
        break;
      default:  // an answer to something else
        event.answer = {XCB_SELECTION_NOTIFY, 0, 0, 0, owner->byte(), owner->byte(), owner->byte(), owner->byte()};
    }
    reader.handle(event.any);
  }
  return condition();
}

}  // namespace

// In place of the library's: what the reader asks of the server.
extern "C" {

xcb_void_cookie_t xcb_delete_property(xcb_connection_t*, xcb_window_t, xcb_atom_t) {
  return {0};
}

xcb_void_cookie_t xcb_change_property(xcb_connection_t*, uint8_t, xcb_window_t, xcb_atom_t, xcb_atom_t, uint8_t,
                                      uint32_t, const void*) {
  return {0};
}

xcb_void_cookie_t xcb_convert_selection(xcb_connection_t*, xcb_window_t, xcb_atom_t, xcb_atom_t target,
                                        xcb_atom_t property, xcb_timestamp_t) {
  owner->target = target;
  owner->property = property;
  return {0};
}

xcb_intern_atom_cookie_t xcb_intern_atom(xcb_connection_t*, uint8_t, uint16_t length, const char* name) {
  return {owner->atom(QByteArray(name, length))};
}

xcb_intern_atom_reply_t* xcb_intern_atom_reply(xcb_connection_t*, xcb_intern_atom_cookie_t cookie,
                                               xcb_generic_error_t**) {
  auto* const reply = makeReply<xcb_intern_atom_reply_t>(0);
  reply->atom = cookie.sequence;
  return reply;
}

xcb_get_atom_name_cookie_t xcb_get_atom_name(xcb_connection_t*, xcb_atom_t atom) {
  return {atom};
}

xcb_get_atom_name_reply_t* xcb_get_atom_name_reply(xcb_connection_t*, xcb_get_atom_name_cookie_t cookie,
                                                   xcb_generic_error_t**) {
  if (cookie.sequence >= owner->atoms.size()) return nullptr;
  const QByteArray& name = owner->atoms[cookie.sequence];
  auto* const reply = makeReply<xcb_get_atom_name_reply_t>(size_t(name.size()));
  reply->name_len = uint16_t(name.size());
  std::memcpy(xcb_get_atom_name_name(reply), name.constData(), size_t(name.size()));
  return reply;
}

xcb_get_property_cookie_t xcb_get_property(xcb_connection_t*, uint8_t, xcb_window_t, xcb_atom_t, xcb_atom_t, uint32_t,
                                           uint32_t) {
  return {0};
}

// A byte for the type (0: there is no such property), one for the format, one for the length, the units.
xcb_get_property_reply_t* xcb_get_property_reply(xcb_connection_t*, xcb_get_property_cookie_t, xcb_generic_error_t**) {
  const unsigned char type = owner->byte();
  if (type == 255) return nullptr;
  constexpr uint8_t formats[] = {8, 16, 32, 0};
  const uint8_t format = formats[owner->byte() % 4];
  const uint32_t units = owner->byte();
  const size_t bytes = size_t(units) * format / 8;
  auto* const reply = makeReply<xcb_get_property_reply_t>(bytes);
  reply->type = type;
  reply->format = format;
  reply->value_len = units;
  auto* const value = static_cast<unsigned char*>(xcb_get_property_value(reply));
  for (size_t i = 0; i < bytes; ++i) value[i] = owner->byte();
  return reply;
}
}

// What another program may answer to the questions about its selection. Atoms 1 to 4 have the names below.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  Owner present;
  present.next = data;
  present.end = data + size;
  owner = &present;
  for (const char* name : {"TARGETS", "INCR", "UTF8_STRING", "text/html"}) present.atom(name);
  XcbAtoms atoms(nullptr);
  SelectionReader* self = nullptr;
  SelectionReader reader(nullptr, ownWindow, atoms,
                         [&](auto, const std::function<bool()>& condition) { return pump(*self, condition); });
  self = &reader;
  while (!present.isDone()) {
    const auto contents = reader.readAll(selection);
    for (const SelectionTarget& one : contents) {
      if (atoms.name(one.target).isEmpty() || one.target <= 2) std::abort();
      if (std::count_if(contents.begin(), contents.end(), [&](const auto& c) { return c.target == one.target; }) != 1)
        std::abort();
    }
    static_cast<void>(reader.readFirst(selection, {3, 4}));
  }
  return 0;
}
