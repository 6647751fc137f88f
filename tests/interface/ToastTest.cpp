#include <gtest/gtest.h>

#include "interface/InlineErrorToastManager.h"
#include "interface/InterfaceFixture.h"
#include "interface/ModeChangeToastManager.h"
#include "interface/NoticeRouter.h"
#include "ports/DesktopNotifications.h"
#include "support/FakeToastPanel.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

TEST(InlineErrorToastManager, ShowsOneAtATimeAndLetsItGo) {
  ManualExecutor executor;
  FakeToastPanel panel;
  InlineErrorToastManager toasts(panel, executor);
  toasts.showToast(QStringLiteral("first"), false);
  executor.advance(3s);
  toasts.showToast(QStringLiteral("second"), true);
  executor.advance(7900ms);
  EXPECT_TRUE(panel.isVisible) << "the end of the first isn't the end of the second";
  executor.advance(200ms);
  EXPECT_FALSE(panel.isVisible);
  EXPECT_EQ(panel.shown.back(), (ToastContent{ToastContent::Kind::critical, QStringLiteral("second")}));
  toasts.showToast(QStringLiteral("third"), false);
  panel.onDismiss();
  EXPECT_FALSE(panel.isVisible);
  EXPECT_EQ(executor.timerCount(), 0U);
}

TEST(ModeChangeToastManager, FollowsQuickChanges) {
  ManualExecutor executor;
  FakeToastPanel panel;
  ModeChangeToastManager toasts(panel, executor);
  toasts.show(QStringLiteral("A"));
  executor.advance(1s);
  toasts.show(QStringLiteral("B"));
  executor.advance(1s);
  EXPECT_TRUE(panel.isVisible);
  EXPECT_EQ(panel.shown.back(), (ToastContent{ToastContent::Kind::mode, QStringLiteral("B")}));
  executor.advance(1s);
  EXPECT_FALSE(panel.isVisible);
}

struct FakeNotifications final : DesktopNotifications {
  QStringList shown;
  bool works = true;
  Task<bool> show(Content content) override {
    shown << content.text;
    co_return works;
  }
};

// Without a pill the desktop tells, and where the desktop can't, we do.
TEST(NoticeRouter, FollowsTheWishForAPill) {
  InterfaceFixture f;
  FakeToastPanel panel;
  ModeChangeToastManager modes(panel, f.executor);
  FakeNotifications desktop;
  NoticeRouter router(f.notices, modes, f.settings, &desktop, f.executor);
  const auto tell = [&](const char* message) {
    router.showToast(QString::fromLatin1(message), true);
    f.executor.runReady();
  };
  tell("one");
  f.settings.general().setShowRecordingWindow(false);
  tell("two");
  router.showMode(QStringLiteral("Letters"));
  f.executor.runReady();
  EXPECT_EQ(desktop.shown, (QStringList{QStringLiteral("two"), QStringLiteral("Mode: Letters")}));
  EXPECT_TRUE(panel.shown.empty());
  desktop.works = false;
  tell("three");
  EXPECT_EQ(f.notices.toasts,
            (std::vector<std::pair<QString, bool>>{{QStringLiteral("one"), true}, {QStringLiteral("three"), true}}));
}

}  // namespace
}  // namespace quillmere
