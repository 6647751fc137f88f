#include "platform/linux/FileLocks.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QDir>
#include <QTemporaryDir>
#include <csignal>

namespace quillmere {
namespace {

TEST(FileLocksTest, OneHolderInThisProcessAndInOthers) {
  const QTemporaryDir home;
  const QString folder = home.filePath(QStringLiteral("locks"));
  FileLocks locks(folder), others(folder);
  EXPECT_FALSE(locks.isTaken(QStringLiteral("a")));
  auto held = locks.take(QStringLiteral("a"));
  ASSERT_TRUE(held);
  EXPECT_TRUE(locks.isTaken(QStringLiteral("a")));
  EXPECT_TRUE(others.isTaken(QStringLiteral("a")));
  EXPECT_FALSE(others.take(QStringLiteral("a")));
  EXPECT_TRUE(others.take(QStringLiteral("b")));
  held.reset();
  EXPECT_FALSE(others.isTaken(QStringLiteral("a")));
  EXPECT_TRUE(QDir(folder).isEmpty()) << "nothing is left behind";

  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const auto its = others.take(QStringLiteral("a"));
    [[maybe_unused]] const ssize_t told = ::write(ready[1], "", 1);
    for (;;) ::pause();
  }
  char byte = 0;
  ASSERT_EQ(::read(ready[0], &byte, 1), 1);
  EXPECT_TRUE(locks.isTaken(QStringLiteral("a")));
  EXPECT_FALSE(locks.take(QStringLiteral("a")));
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  EXPECT_FALSE(locks.isTaken(QStringLiteral("a")));
  EXPECT_TRUE(locks.take(QStringLiteral("a")));
}

TEST(FileLocksTest, WhereNoFileCanBeMadeNobodyGetsOne) {
  FileLocks locks(QStringLiteral("/dev/null/locks"));
  EXPECT_FALSE(locks.take(QStringLiteral("a")));
  EXPECT_FALSE(locks.isTaken(QStringLiteral("a")));
}

}  // namespace
}  // namespace quillmere
