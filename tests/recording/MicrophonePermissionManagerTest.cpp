#include "recording/MicrophonePermissionManager.h"

#include <gtest/gtest.h>

#include "support/FakeErrorReporting.h"
#include "support/FakeMicrophoneAuthorization.h"
#include "support/ManualExecutor.h"
#include "support/RunTask.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

using Status = MicrophoneAuthorization::Status;

const QString denied = QStringLiteral("Quillmere may not use the microphone. Please allow it in the system settings.");

TEST(MicrophonePermissionManagerTest, LookingDoesNotAskAndAskingFollowsTheStatus) {
  const TestTexts texts;
  const QString unknown = QStringLiteral("It is not known whether the microphone may be used.");
  struct Case {
    Status status;
    const char* text;
    QString messageAtLook;
    bool grants, has, alert;
    QStringList crumbs;  // message/status
  };
  const QString shown = QStringLiteral("Microphone permission prompt shown/not_determined");
  const QString resolved = QStringLiteral("Microphone permission prompt resolved/");
  const QString refused = QStringLiteral("Microphone permission denied or restricted/");
  const Case cases[] = {
      {Status::authorized, "authorized", {}, 0, 1, 0, {"Microphone permission already authorized/authorized"}},
      {Status::denied, "denied", denied, 0, 0, 1, {refused + "denied"}},
      {Status::denied, "denied", denied, 1, 1, 0, {"Microphone permission already authorized/authorized"}},
      {Status::restricted, "restricted", denied, 1, 0, 1, {refused + "restricted"}},
      {Status::unknown, "unknown", unknown, 1, 0, 0, {}},
      {Status::notDetermined, "not_determined", {}, 1, 1, 0, {shown, resolved + "authorized"}},
      {Status::notDetermined, "not_determined", {}, 0, 0, 1, {shown, resolved + "denied"}}};
  for (const Case& one : cases) {
    SCOPED_TRACE(one.text);
    ManualExecutor executor;
    FakeErrorReporting reporting;
    FakeMicrophoneAuthorization authorization;
    authorization.current = one.status;
    authorization.grants = one.grants;
    MicrophonePermissionManager manager(authorization, &reporting);
    manager.refreshPermission();
    EXPECT_EQ(manager.permissionStatus(), QString::fromLatin1(one.text));
    EXPECT_EQ(manager.hasMicrophonePermission().get(), one.status == Status::authorized);
    EXPECT_EQ(manager.errorMessage().get(), one.messageAtLook);
    EXPECT_FALSE(manager.showPermissionDeniedAlert().get());
    EXPECT_EQ(authorization.questions, 0);

    EXPECT_EQ(runTask(executor, manager.requestPermission()), one.has);
    EXPECT_EQ(manager.hasMicrophonePermission().get(), one.has);
    EXPECT_EQ(manager.showPermissionDeniedAlert().get(), one.alert);
    EXPECT_EQ(manager.errorMessage().get(), one.has ? QString() : denied);
    EXPECT_EQ(authorization.questions, one.status == Status::notDetermined || one.status == Status::denied);
    QStringList crumbs;
    for (const Breadcrumb& crumb : reporting.breadcrumbs)
      crumbs << crumb.message + u'/' + crumb.data.value(QStringLiteral("status")).toString();
    EXPECT_EQ(crumbs, one.crumbs);

    reporting.isOn = false;
    runTask(executor, manager.requestPermission());
    EXPECT_EQ(reporting.breadcrumbs.size(), size_t(crumbs.size()));
  }
}

}  // namespace
}  // namespace quillmere
