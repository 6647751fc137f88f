#include "recording/FileWatcher.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include "base/async/TaskScope.h"
#include "support/FakeAudioRecorder.h"
#include "support/FakeFileEvents.h"
#include "support/ManualExecutor.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

class FileWatcherTest : public ::testing::Test {
 protected:
  using Answer = Result<void, FileWatcherError>;
  void put(qint64 bytes) { FakeAudioRecorderFactory::fill(path, bytes); }
  Answer wait() { return runTask(executor, watcher.waitForFirstWrite(path, 3s)); }
  Duration elapsed() const { return executor.now() - begin; }

  QTemporaryDir folder;
  QString path = folder.filePath("sound.wav");
  ManualExecutor executor;
  TimePoint begin = executor.now();
  FakeFileEvents events;
  FileWatcher watcher{events, nullptr, Logging()};
};

TEST_F(FileWatcherTest, WaitsForTheFileAndItsFirstWrite) {
  executor.startTimer(1850ms, [this] { put(0); });
  executor.startTimer(3s, [this] { events.write(path); });
  EXPECT_TRUE(wait());
  EXPECT_EQ(elapsed(), 3s);
  EXPECT_EQ(events.watchCount(), 0u);
  EXPECT_EQ(executor.timerCount(), 0u);
  put(1);
  EXPECT_TRUE(wait()) << "a size is enough";
  EXPECT_EQ(elapsed(), 3s);
}

TEST_F(FileWatcherTest, AWriteBeforeTheWatchStandsIsNotMissed) {
  put(0);
  events.onWatch = [this](const QString&) { put(500); };
  EXPECT_TRUE(wait());
  EXPECT_EQ(elapsed(), 0s);
}

TEST_F(FileWatcherTest, Failures) {
  struct Case {
    bool isThere, canWatch;
    FileWatcherError error;
    Duration takes;
  };
  const Case cases[] = {{false, true, FileWatcherError::fileNotCreated, 1900ms},  // twenty looks
                        {true, true, FileWatcherError::timeout, 3s},
                        {true, false, FileWatcherError::failedToOpenFileDescriptor, 0s}};
  for (const Case& one : cases) {
    if (one.isThere) put(0);
    events.canWatch = one.canWatch;
    begin = executor.now();
    const Answer answer = wait();
    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.error(), one.error);
    EXPECT_EQ(elapsed(), one.takes);
    EXPECT_EQ(events.watchCount(), 0u);
  }
}

TEST_F(FileWatcherTest, ACancelDropsTheWatch) {
  put(0);
  TaskScope scope(executor);
  auto handle = scope.spawn(watcher.waitForFirstWrite(path, 3s));
  executor.advance(100ms);
  EXPECT_EQ(events.watchCount(), 1u);
  handle.cancel();
  executor.runReady();
  EXPECT_EQ(events.watchCount(), 0u);
}

}  // namespace
}  // namespace quillmere
