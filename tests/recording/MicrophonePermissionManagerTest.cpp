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
  };
  const Case cases[] = {{Status::authorized, "authorized", {}, 0, 1, 0},
                        {Status::denied, "denied", denied, 0, 0, 1},
                        {Status::denied, "denied", denied, 1, 1, 0},  // allowed since
                        {Status::restricted, "restricted", denied, 1, 0, 1},
                        {Status::unknown, "unknown", unknown, 1, 0, 0},
                        {Status::notDetermined, "not_determined", {}, 1, 1, 0},
                        {Status::notDetermined, "not_determined", {}, 0, 0, 1}};
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
  }
}

}  // namespace
}  // namespace quillmere
