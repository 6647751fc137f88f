#include <qtestsupport_core.h>

#include "base/async/Async.h"
#include "platform/qt/QtExecutor.h"
#include "platform/x11/X11GlobalShortcuts.h"
#include "support/FakeGlobalShortcuts.h"
#include "support/TestTexts.h"
#include "support/XtestKeys.h"
#include "support/XvfbServer.h"

namespace quillmere {
namespace {

// What holds for every GlobalShortcuts, on the fake and on an X server of the test.
class Desktop {
 public:
  virtual ~Desktop() = default;
  virtual GlobalShortcuts& shortcuts() = 0;
  // The user presses the keys and lets them go.
  virtual void tap(const KeyCombination& keys) = 0;
  virtual bool isRecordingCombination() = 0;
};

class FakeDesktop final : public Desktop {
 public:
  GlobalShortcuts& shortcuts() override { return shortcuts_; }
  void tap(const KeyCombination& keys) override {
    if (shortcuts_.isRecordingCombination()) {
      const bool isEscape = keys == KeyCombination{.key = "Escape"};
      return shortcuts_.enterCombination(isEscape ? std::nullopt : std::optional(keys));
    }
    for (const char* name : {"first", "second"}) {
      if (shortcuts_.shortcut(QString::fromLatin1(name)) != keys) continue;
      shortcuts_.press(QString::fromLatin1(name));
      shortcuts_.release(QString::fromLatin1(name));
    }
  }
  bool isRecordingCombination() override { return shortcuts_.isRecordingCombination(); }

 private:
  FakeGlobalShortcuts shortcuts_;
};

class X11Desktop final : public Desktop {
 public:
  explicit X11Desktop(std::unique_ptr<XvfbServer> server)
      : server_(std::move(server)),
        keys_(server_->displayName()),
        shortcuts_(Logging(), server_->displayName()),
        probe_(xcb_connect(server_->displayName().toUtf8().constData(), nullptr)) {}
  ~X11Desktop() override { xcb_disconnect(probe_); }

  GlobalShortcuts& shortcuts() override { return shortcuts_; }
  void tap(const KeyCombination& keys) override {
    constexpr uint32_t controlLeft = 0xffe3, altLeft = 0xffe9, escape = 0xff1b, f9 = 0xffc6;
    const uint32_t key = keys.key == QLatin1String("Escape") ? escape
                         : keys.key == QLatin1String("F9")   ? f9
                                                             : keys.key[0].unicode();
    if (keys.control) keys_.press(controlLeft);
    if (keys.alt) keys_.press(altLeft);
    keys_.tap({key});
    if (keys.alt) keys_.release(altLeft);
    if (keys.control) keys_.release(controlLeft);
  }
  // Nobody else gets the keyboard then.
  bool isRecordingCombination() override {
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(probe_)).data->root;
    const auto cookie = xcb_grab_keyboard(probe_, 0, root, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    const XcbPointer<xcb_grab_keyboard_reply_t> reply(xcb_grab_keyboard_reply(probe_, cookie, nullptr));
    xcb_ungrab_keyboard(probe_, XCB_CURRENT_TIME);
    synchronize();
    return reply && reply->status == XCB_GRAB_STATUS_ALREADY_GRABBED;
  }

 private:
  void synchronize() {
    XcbPointer<xcb_get_input_focus_reply_t>(xcb_get_input_focus_reply(probe_, xcb_get_input_focus(probe_), nullptr));
  }

  std::unique_ptr<XvfbServer> server_;
  XtestKeys keys_;
  X11GlobalShortcuts shortcuts_;
  xcb_connection_t* const probe_;
};

enum class Kind { fake, x11 };

class GlobalShortcutsContract : public testing::TestWithParam<Kind> {
 protected:
  void SetUp() override {
    if (GetParam() == Kind::fake) {
      desktop = std::make_unique<FakeDesktop>();
      return;
    }
    QString reason;
    auto server = XvfbServer::start(reason);
    if (!server) GTEST_SKIP() << qPrintable(reason);
    desktop = std::make_unique<X11Desktop>(std::move(server));
  }
  GlobalShortcuts& shortcuts() { return desktop->shortcuts(); }
  static KeyCombination keys(const char* text) { return *KeyCombination::parse(QString::fromLatin1(text)); }
  GlobalShortcuts::Handlers noting(const char* letter) {
    const QString down = QString::fromLatin1(letter);
    return {[this, down] { trace += down; }, [this, down] { trace += down.toUpper(); }};
  }
  static bool waitUntil(const std::function<bool()>& condition) { return QTest::qWaitFor(condition, 120'000); }
  // Taps a key that nobody disables, too, so that all that came before it is through.
  QString traceOf(const char* text) {
    trace.clear();
    desktop->tap(keys(text));
    desktop->tap(keys("F9"));
    waitUntil([&] { return trace.endsWith(u'S'); });
    return trace.chopped(2);
  }
  TaskHandle<> record() {
    const auto body = [](GlobalShortcutsContract& test) -> Task<> {
      auto recording = test.shortcuts().recordCombination();
      test.recorded = co_await std::move(recording);
      test.isRecorded = true;
    };
    return scope.spawn(body(*this));
  }

  const QString first = "first";
  const QString second = "second";
  TestTexts texts;
  QtExecutor executor;
  std::unique_ptr<Desktop> desktop;
  QString trace;
  std::optional<KeyCombination> recorded;
  bool isRecorded = false;
  TaskScope scope{executor};
};

TEST_P(GlobalShortcutsContract, AShortcutReactsWhileItHasAKeyAndIsEnabled) {
  ASSERT_TRUE(shortcuts().isAvailable());
  shortcuts().setHandlers(second, noting("s"));
  ASSERT_TRUE(shortcuts().setShortcut(second, keys("F9")));

  shortcuts().setHandlers(first, noting("f"));
  EXPECT_EQ(traceOf("Ctrl+Alt+D"), QString());
  ASSERT_TRUE(shortcuts().setShortcut(first, keys("Ctrl+Alt+D")));
  EXPECT_EQ(traceOf("Ctrl+Alt+D"), "fF");
  EXPECT_EQ(traceOf("Ctrl+D"), QString());
  shortcuts().setEnabled(first, false);
  EXPECT_EQ(traceOf("Ctrl+Alt+D"), QString());
  ASSERT_TRUE(shortcuts().setShortcut(first, keys("Ctrl+D")));
  EXPECT_EQ(traceOf("Ctrl+D"), QString());
  shortcuts().setEnabled(first, true);
  EXPECT_EQ(traceOf("Ctrl+D"), "fF");
  EXPECT_EQ(traceOf("Ctrl+Alt+D"), QString());
  shortcuts().setHandlers(first, noting("g"));
  EXPECT_EQ(traceOf("Ctrl+D"), "gG");
  ASSERT_TRUE(shortcuts().setShortcut(first, std::nullopt));
  EXPECT_EQ(shortcuts().shortcut(first), std::nullopt);
  EXPECT_EQ(traceOf("Ctrl+D"), QString());
}

TEST_P(GlobalShortcutsContract, AKeyBelongsToOneName) {
  shortcuts().setHandlers(second, noting("s"));
  ASSERT_TRUE(shortcuts().setShortcut(second, keys("F9")));
  shortcuts().setHandlers(first, noting("f"));
  ASSERT_TRUE(shortcuts().setShortcut(first, keys("Ctrl+D")));
  const auto refused = shortcuts().setShortcut(first, keys("F9"));
  ASSERT_FALSE(refused);
  EXPECT_TRUE(refused.error().description.contains("F9"));
  EXPECT_EQ(shortcuts().shortcut(first), keys("Ctrl+D"));
  EXPECT_EQ(traceOf("Ctrl+D"), "fF");
  EXPECT_TRUE(shortcuts().setShortcut(first, keys("Ctrl+D")));
}

TEST_P(GlobalShortcutsContract, RecordsACombinationWhileNothingReacts) {
  shortcuts().setHandlers(second, noting("s"));
  ASSERT_TRUE(shortcuts().setShortcut(second, keys("F9")));
  record();
  ASSERT_TRUE(waitUntil([&] { return desktop->isRecordingCombination(); }));
  desktop->tap(keys("F9"));
  ASSERT_TRUE(waitUntil([&] { return isRecorded; }));
  EXPECT_EQ(recorded, keys("F9"));
  EXPECT_TRUE(trace.isEmpty());

  isRecorded = false;
  record();
  ASSERT_TRUE(waitUntil([&] { return desktop->isRecordingCombination(); }));
  desktop->tap(keys("Escape"));
  ASSERT_TRUE(waitUntil([&] { return isRecorded; }));
  EXPECT_EQ(recorded, std::nullopt);

  auto handle = record();
  ASSERT_TRUE(waitUntil([&] { return desktop->isRecordingCombination(); }));
  handle.cancel();
  ASSERT_TRUE(waitUntil([&] { return handle.isDone(); }));
  EXPECT_FALSE(desktop->isRecordingCombination());
  EXPECT_EQ(traceOf("Ctrl+D"), QString());  // and the shortcut of F9 reacts again
}

INSTANTIATE_TEST_SUITE_P(All, GlobalShortcutsContract, testing::Values(Kind::fake, Kind::x11),
                         [](const auto& test) { return test.param == Kind::fake ? "Fake" : "X11"; });

}  // namespace
}  // namespace quillmere
