#include "platform/x11/X11KeyInterceptor.h"

#include "platform/x11/X11Desk.h"
#include "platform/x11/X11GlobalShortcuts.h"

namespace quillmere {
namespace {

class X11KeyInterceptorTest : public X11DeskTest {
 protected:
  X11KeyInterceptorTest() { other.showFocusedWindow(); }
  bool start() {
    return interceptor->start([this] { trace += u'R'; }, [this] { trace += u'E'; });
  }
  std::vector<int> codesOf(std::initializer_list<uint32_t> symbols) const {
    std::vector<int> codes;
    for (const uint32_t symbol : symbols) codes.push_back(keys.codeOf(symbol));
    return codes;
  }

  std::unique_ptr<X11KeyInterceptor> interceptor = std::make_unique<X11KeyInterceptor>(server.displayName());
  QString trace;
};

TEST_F(X11KeyInterceptorTest, TakesItsKeysWithAnyModifiersAndLocksAndLetsTheOthersThrough) {
  ASSERT_TRUE(start());
  for (const uint32_t symbol : {XKB_KEY_a, XKB_KEY_KP_Enter, XKB_KEY_space}) keys.tap({symbol});
  EXPECT_EQ(other.takeKeys(), codesOf({XKB_KEY_a, XKB_KEY_space}));
  for (const uint32_t symbol : {XKB_KEY_Num_Lock, XKB_KEY_Return, XKB_KEY_Caps_Lock, XKB_KEY_Escape})
    keys.tap({symbol});
  keys.tap({XKB_KEY_Shift_L, XKB_KEY_Control_L, XKB_KEY_Return});
  EXPECT_TRUE(waitUntil([&] { return trace == "RRER"; })) << qPrintable(trace);
}

TEST_F(X11KeyInterceptorTest, AHeldKeyCountsOnce) {
  ASSERT_TRUE(start());
  keys.press(XKB_KEY_Escape);
  pause(std::chrono::milliseconds(1200));  // longer than the keyboard waits before it repeats
  keys.release(XKB_KEY_Escape);
  keys.tap({XKB_KEY_Return});
  EXPECT_TRUE(waitUntil([&] { return trace.contains(u'R'); }));
  EXPECT_EQ(trace, "ER");
}

TEST_F(X11KeyInterceptorTest, LeavesOthersTheCombinationsThatTheyHave) {
  OtherProgram windowManager(server.displayName());
  ASSERT_TRUE(windowManager.grabKey(XCB_MOD_MASK_1, keys.codeOf(XKB_KEY_Escape)));
  ASSERT_TRUE(start());
  keys.tap({XKB_KEY_Alt_L, XKB_KEY_Escape});
  keys.tap({XKB_KEY_Control_L, XKB_KEY_Escape});
  EXPECT_TRUE(waitUntil([&] { return !trace.isEmpty(); }));
  EXPECT_EQ(windowManager.takeKeys(), codesOf({XKB_KEY_Escape}));
  EXPECT_EQ(trace, "E");
}

// Escape cancels, and is the answer to the question that it brings up.
TEST_F(X11KeyInterceptorTest, HasAKeyThatAShortcutOfOursYields) {
  X11GlobalShortcuts shortcuts(Logging(), server.displayName());
  shortcuts.setHandlers("cancel", {{}, [this] { trace += u'c'; }});
  ASSERT_TRUE(shortcuts.setShortcut("cancel", KeyCombination{.key = "Escape"}));
  keys.tap({XKB_KEY_Escape});
  EXPECT_TRUE(waitUntil([&] { return trace == "c"; }));
  EXPECT_FALSE(start());
  shortcuts.yieldKeys(KeyInterceptor::keys());
  ASSERT_TRUE(start());
  // Its own handler gives the key back while it is still down.
  keys.press(XKB_KEY_Escape);
  EXPECT_TRUE(waitUntil([&] { return trace == "cE"; }));
  interceptor->stop();
  shortcuts.yieldKeys({});
  keys.release(XKB_KEY_Escape);
  keys.tap({XKB_KEY_Escape});
  EXPECT_TRUE(waitUntil([&] { return trace == "cEc"; })) << qPrintable(trace);
  EXPECT_EQ(other.takeKeys(), std::vector<int>());
}

TEST_F(X11KeyInterceptorTest, ItsEndGivesTheKeysBackAndThatOfTheServerKeepsItFromStarting) {
  ASSERT_TRUE(start());
  interceptor.reset();
  EXPECT_TRUE(waitUntil([&] { return !other.isTaken(XCB_MOD_MASK_ANY, keys.codeOf(XKB_KEY_Escape)); }));
  interceptor = std::make_unique<X11KeyInterceptor>(server.displayName());
  ASSERT_TRUE(start());
  server.kill();
  EXPECT_TRUE(waitUntil([&] { return !start(); }));
}

}  // namespace
}  // namespace quillmere
