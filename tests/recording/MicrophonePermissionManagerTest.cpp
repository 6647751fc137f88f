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

TEST(MicrophonePermissionManagerTest, LookingDoesNotAsk) {
  const TestTexts texts;
  struct Case {
    Status status;
    const char* text;
    bool has;
    QString message;
  };
  const Case cases[] = {
      {Status::authorized, "authorized", true, {}},
      {Status::notDetermined, "not_determined", false, {}},
      {Status::denied, "denied", false, denied},
      {Status::restricted, "restricted", false, denied},
      {Status::unknown, "unknown", false, QStringLiteral("It is not known whether the microphone may be used.")}};
  for (const Case& one : cases) {
    FakeMicrophoneAuthorization authorization;
    authorization.current = one.status;
    MicrophonePermissionManager manager(authorization, nullptr);
    manager.refreshPermission();
    EXPECT_EQ(manager.permissionStatus(), QString::fromLatin1(one.text));
    EXPECT_EQ(manager.hasMicrophonePermission().get(), one.has) << one.text;
    EXPECT_EQ(manager.errorMessage().get(), one.message) << one.text;
    EXPECT_FALSE(manager.showPermissionDeniedAlert().get());
    EXPECT_EQ(authorization.questions, 0);
  }
}

TEST(MicrophonePermissionManagerTest, AskingFollowsTheStatus) {
  const TestTexts texts;
  struct Case {
    Status status;
    bool grants;
    bool has, alert;
    int questions;
    QStringList crumbs;  // message/status
  };
  const Case cases[] = {
      {Status::authorized, false, true, false, 0, {"Microphone permission already authorized/authorized"}},
      {Status::denied, true, false, true, 0, {"Microphone permission denied or restricted/denied"}},
      {Status::restricted, true, false, true, 0, {"Microphone permission denied or restricted/restricted"}},
      {Status::unknown, true, false, false, 0, {}},
      {Status::notDetermined,
       true,
       true,
       false,
       1,
       {"Microphone permission prompt shown/not_determined", "Microphone permission prompt resolved/authorized"}},
      {Status::notDetermined,
       false,
       false,
       true,
       1,
       {"Microphone permission prompt shown/not_determined", "Microphone permission prompt resolved/denied"}}};
  for (const Case& one : cases) {
    ManualExecutor executor;
    FakeErrorReporting reporting;
    FakeMicrophoneAuthorization authorization;
    authorization.current = one.status;
    authorization.grants = one.grants;
    authorization.questionTakes = std::chrono::minutes(3);
    MicrophonePermissionManager manager(authorization, &reporting);
    EXPECT_EQ(runTask(executor, manager.requestPermission()), one.has);
    EXPECT_EQ(manager.hasMicrophonePermission().get(), one.has);
    EXPECT_EQ(manager.showPermissionDeniedAlert().get(), one.alert);
    EXPECT_EQ(manager.errorMessage().get(), one.has ? QString() : denied);
    EXPECT_EQ(authorization.questions, one.questions);
    QStringList crumbs;
    for (const Breadcrumb& crumb : reporting.breadcrumbs)
      crumbs << crumb.message + u'/' + crumb.data.value(QStringLiteral("status")).toString();
    EXPECT_EQ(crumbs, one.crumbs);

    reporting.isOn = false;
    reporting.breadcrumbs.clear();
    runTask(executor, manager.requestPermission());
    EXPECT_TRUE(reporting.breadcrumbs.empty());
  }
}

}  // namespace
}  // namespace quillmere
