#include "platform/x11/XcbConnection.h"

#include "platform/x11/X11Desk.h"

namespace quillmere {
namespace {

using XcbConnectionTest = X11DeskTest;

TEST_F(XcbConnectionTest, DeliversEventsThatArrivedWhileAReplyWasWaitedFor) {
  const auto connection = *XcbConnection::open(server.displayName());
  const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
  xcb_change_window_attributes(connection->raw(), connection->root(), XCB_CW_EVENT_MASK, &mask);
  std::vector<xcb_atom_t> changed;
  auto first = connection->observeEvents([&](const xcb_generic_event_t& event) {
    if ((event.response_type & 0x7f) == XCB_PROPERTY_NOTIFY)
      changed.push_back(reinterpret_cast<const xcb_property_notify_event_t&>(event).atom);
  });
  int others = 0;
  auto second = connection->observeEvents([&](const xcb_generic_event_t&) { ++others; });
  auto ending = connection->observeEvents([&](const xcb_generic_event_t&) { second.reset(); });

  std::vector<xcb_atom_t> expected;
  for (const char* name : {"QUILLMERE_ONE", "QUILLMERE_TWO", "QUILLMERE_THREE"}) {
    expected.push_back(connection->atom(name));
    xcb_change_property(connection->raw(), XCB_PROP_MODE_REPLACE, connection->root(), expected.back(),
                        XCB_ATOM_CARDINAL, 32, 1, &mask);
  }
  // The replies pull all events into the library's queue: nothing is left on the socket to wake the loop.
  connection->synchronize();
  EXPECT_TRUE(changed.empty());
  EXPECT_TRUE(waitUntil([&] { return changed.size() == 3; }));
  EXPECT_EQ(changed, expected);
  EXPECT_EQ(others, 1);
}

}  // namespace
}  // namespace quillmere
