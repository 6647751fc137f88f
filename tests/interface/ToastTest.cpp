#include <gtest/gtest.h>

#include "interface/InlineErrorToastManager.h"
#include "interface/ModeChangeToastManager.h"
#include "support/FakeToastPanel.h"
#include "support/ManualExecutor.h"

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

}  // namespace
}  // namespace quillmere
