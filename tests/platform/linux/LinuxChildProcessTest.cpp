#include "platform/linux/LinuxChildProcess.h"

#include <fcntl.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <csignal>

#include "base/async/Async.h"
#include "support/InLoop.h"
#include "support/SecondProcess.h"
#include "support/WaitUntil.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Output = ChildProcessRequest::Output;

// Also true where nobody has asked for the end of a dead process yet.
bool isDead(const QString& processId) {
  QFile file(QString("/proc/%1/stat").arg(processId));
  return !file.open(QIODevice::ReadOnly) || file.readAll().contains(") Z ");
}

class LinuxChildProcessTest : public testing::Test, protected InLoop {
 protected:
  std::unique_ptr<ChildProcess> start(const QString& script, ChildProcessRequest request = {}) {
    request.program = "sh";
    request.arguments = {"-c", script};
    request.onLine = [this](Output, const QString& line) { lines << line; };
    auto started = run(factory.start(std::move(request)));
    return started ? std::move(*started) : nullptr;
  }
  LinuxChildProcessFactory factory;
  QStringList lines;
};

TEST_F(LinuxChildProcessTest, WhatTheProgramFinds) {
  const QTemporaryDir folder;
  const int held = ::open("/dev/null", O_RDONLY);  // without close-on-exec
  ChildProcessRequest request;
  request.environment = {{"ADDED", "it's ü"}};
  request.workingFolder = folder.path();
  request.niceness = 5;
  const auto process =
      start("pwd; echo $ADDED; echo ${HOME:+home}; nice; cat; ps -o pgid= $$; ls /proc/self/fd | wc -l", request);
  ::close(held);
  ASSERT_TRUE(process);
  EXPECT_EQ(run(process->waitForExit()), (ChildProcessExit{0, 0}));
  ASSERT_EQ(lines.size(), 6);
  EXPECT_EQ(lines.mid(0, 4), QStringList({QFileInfo(folder.path()).canonicalFilePath(), "it's ü", "home", "5"}));
  EXPECT_EQ(lines[4].trimmed(), QString::number(process->processId())) << "a group of its own";
  EXPECT_EQ(lines[5].trimmed(), "4") << "the three and the folder itself";
}

TEST_F(LinuxChildProcessTest, FloodsAndLongLines) {
  const auto process =
      start("head -c 200000 /dev/zero | tr '\\0' x; echo; printf 'a\\r\\n\\n\\377'; yes | head -n 100000");
  ASSERT_TRUE(process);
  run(process->waitForExit());
  ASSERT_EQ(lines.size(), 4 + 3 + 100'000 - 1);
  EXPECT_EQ(lines[0].size(), 65'536);
  EXPECT_EQ(lines.mid(0, 4).join("").size(), 200'000);
  EXPECT_EQ(lines.mid(4, 3), QStringList({"a", "", QString(QChar::ReplacementCharacter) + "y"}));
}

TEST_F(LinuxChildProcessTest, WhatItStartedGoesWithIt) {
  for (const bool isTerminated : {true, false}) {
    lines.clear();
    auto process = start("sleep 1000 & echo $!; wait");
    ASSERT_TRUE(waitUntil([this] { return !lines.isEmpty(); }));
    if (isTerminated) run(process->terminate(10s));
    process.reset();
    EXPECT_TRUE(waitUntil([this] { return isDead(lines[0]); }));
  }
}

// The other side of the test below.
TEST_F(LinuxChildProcessTest, DISABLED_Parent) {
  const auto process = start("exec sleep 1000");
  QFile file(SecondProcess::path());
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write(QByteArray::number(process->processId()) + ' ' + QByteArray::number(::getpid()));
  file.close();
  run(sleepFor(1h));
}

TEST_F(LinuxChildProcessTest, AKilledParentTakesItAlong) {
  const QTemporaryDir folder;
  QFile file(folder.filePath("processes"));
  const SecondProcess parent("LinuxChildProcessTest.DISABLED_Parent", file.fileName(), "parent");
  ASSERT_TRUE(waitUntil([&] { return file.size() > 0; }));
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  const QStringList processes = QString::fromLatin1(file.readAll()).split(' ');
  EXPECT_FALSE(isDead(processes[0]));
  ::kill(pid_t(processes[1].toInt()), SIGKILL);
  EXPECT_TRUE(waitUntil([&] { return isDead(processes[0]); }));
}

}  // namespace
}  // namespace quillmere
