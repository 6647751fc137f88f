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
  const QString folder = home.filePath("locks");
  FileLocks locks(folder), others(folder);
  EXPECT_FALSE(locks.isTaken("a"));
  auto held = locks.take("a");
  ASSERT_TRUE(held);
  EXPECT_TRUE(locks.isTaken("a"));
  EXPECT_TRUE(others.isTaken("a"));
  EXPECT_FALSE(others.take("a"));
  EXPECT_TRUE(others.take("b"));
  held.reset();
  EXPECT_FALSE(others.isTaken("a"));
  EXPECT_TRUE(QDir(folder).isEmpty()) << "nothing is left behind";

  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const auto its = others.take("a");
    [[maybe_unused]] const ssize_t told = ::write(ready[1], "", 1);
    for (;;) ::pause();
  }
  char byte = 0;
  ASSERT_EQ(::read(ready[0], &byte, 1), 1);
  EXPECT_TRUE(locks.isTaken("a"));
  EXPECT_FALSE(locks.take("a"));
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  EXPECT_FALSE(locks.isTaken("a"));
  EXPECT_TRUE(locks.take("a"));
}

TEST(FileLocksTest, WhereNoFileCanBeMadeNobodyGetsOne) {
  FileLocks locks("/dev/null/locks");
  EXPECT_FALSE(locks.take("a"));
  EXPECT_FALSE(locks.isTaken("a"));
}

}  // namespace
}  // namespace quillmere
