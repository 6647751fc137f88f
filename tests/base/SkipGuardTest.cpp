#include "support/SkipGuard.h"

#include <QCoreApplication>
#include <QProcess>

namespace {

// lint-allow(assertion): skipping is all it does
TEST(SkipGuard, DISABLED_IsSkipped) {
  GTEST_SKIP() << "for the test below";
}

// This program again, with the test above alone.
int exitCodeWith(const QString& ci) {
  QProcess process;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("CI", ci);
  process.setProcessEnvironment(environment);
  process.start(QCoreApplication::applicationFilePath(),
                {"--gtest_filter=SkipGuard.DISABLED_IsSkipped", "--gtest_also_run_disabled_tests"});
  return process.waitForFinished() && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

TEST(SkipGuard, ASkippedTestIsRedInContinuousIntegrationOnly) {
  EXPECT_EQ(exitCodeWith("true"), 1);
  EXPECT_EQ(exitCodeWith(""), 0);
}

}  // namespace
