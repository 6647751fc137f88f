#include "platform/x11/XcbConnection.h"

#include <QCoreApplication>

#include "platform/x11/X11Desk.h"

namespace quillmere {
namespace {

using XcbConnectionTest = X11DeskTest;

TEST_F(XcbConnectionTest, SaysWhyADisplayCanNotBeReached) {
  const QByteArray present = qgetenv("DISPLAY");
  qunsetenv("DISPLAY");
  EXPECT_EQ(XcbConnection::open().error().description, "There is no X display: the variable DISPLAY is not set.");
  if (!present.isNull()) qputenv("DISPLAY", present);
  EXPECT_EQ(XcbConnection::open(":64999").error().description, "The X display \":64999\" can't be reached.");
  EXPECT_EQ(XcbConnection::open("nonsense").error().description, "\"nonsense\" is not the name of an X display.");
}

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

TEST_F(XcbConnectionTest, OutlivesTheServer) {
  const auto connection = *XcbConnection::open(server.displayName());
  int closed = 0;
  connection->setOnClosed([&] { ++closed; });
  ASSERT_TRUE(connection->isOpen());
  server.kill();
  for (int i = 0; i < 100; ++i) {
    xcb_bell(connection->raw(), 0);
    connection->flush();
  }
  EXPECT_TRUE(waitUntil([&] { return closed > 0; }));
  EXPECT_FALSE(connection->isOpen());
  EXPECT_EQ(connection->atom("QUILLMERE_LATE"), xcb_atom_t(XCB_ATOM_NONE));
  connection->synchronize();
  connection->flush();
  QCoreApplication::processEvents();
  EXPECT_EQ(closed, 1);
}

}  // namespace
}  // namespace quillmere
