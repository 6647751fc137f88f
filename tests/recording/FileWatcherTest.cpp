#include "recording/FileWatcher.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include "base/async/TaskScope.h"
#include "support/FakeAudioRecorder.h"
#include "support/FakeErrorReporting.h"
#include "support/FakeFileEvents.h"
#include "support/ManualExecutor.h"
#include "support/RecordingLogSink.h"
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
  void at(Duration when, std::function<void()> what) { executor.startTimer(when, std::move(what)); }

  QTemporaryDir folder;
  QString path = folder.filePath(QStringLiteral("sound.wav"));
  ManualExecutor executor;
  TimePoint begin = executor.now();
  std::shared_ptr<RecordingLogSink> log = std::make_shared<RecordingLogSink>();
  FakeErrorReporting reporting;
  FakeFileEvents events;
  FileWatcher watcher{events, &reporting, Logging(log)};
};

TEST_F(FileWatcherTest, AFileWithASizeIsNotWaitedFor) {
  put(1);
  EXPECT_TRUE(wait());
  EXPECT_EQ(elapsed(), 0s);
  EXPECT_TRUE(events.watched.isEmpty());
  EXPECT_EQ(log->lines(), QStringList{QStringLiteral("File already exists and has size > 0, skipping wait.")});
}

TEST_F(FileWatcherTest, AFileMayAppearLate) {
  at(1850ms, [this] { put(10); });
  EXPECT_TRUE(wait());
  EXPECT_EQ(elapsed(), 1900ms);
}

TEST_F(FileWatcherTest, AFileThatNeverAppears) {
  const Answer answer = wait();
  ASSERT_FALSE(answer);
  EXPECT_EQ(answer.error(), FileWatcherError::fileNotCreated);
  EXPECT_EQ(elapsed(), 1900ms) << "twenty checks";
  EXPECT_EQ(reporting.breadcrumbs.at(0).message, QStringLiteral("File watcher missing file"));
  EXPECT_TRUE(log->contains(QStringLiteral("FileWatcher: File was not created in time at ") + path));
}

TEST_F(FileWatcherTest, AnEmptyFileIsWatchedUntilTheFirstWrite) {
  put(0);
  at(2s, [this] { events.write(path); });
  EXPECT_TRUE(wait());
  EXPECT_EQ(elapsed(), 2s);
  EXPECT_EQ(events.watchCount(), 0u);
  EXPECT_EQ(executor.timerCount(), 0u);
  EXPECT_TRUE(log->contains(QStringLiteral("FileWatcher: Received write event for ") + path));
}

TEST_F(FileWatcherTest, AWriteBeforeTheWatchStandsIsNotMissed) {
  put(0);
  events.onWatch = [this](const QString&) { put(500); };
  EXPECT_TRUE(wait());
  EXPECT_EQ(elapsed(), 0s);
}

TEST_F(FileWatcherTest, TheWaitHasAnEnd) {
  put(0);
  const Answer answer = wait();
  ASSERT_FALSE(answer);
  EXPECT_EQ(answer.error(), FileWatcherError::timeout);
  EXPECT_EQ(elapsed(), 3s);
  EXPECT_EQ(events.watchCount(), 0u);
  EXPECT_EQ(reporting.breadcrumbs.at(0).data.value(QStringLiteral("timeoutSeconds")), 3.0);
}

TEST_F(FileWatcherTest, AFileThatCantBeWatched) {
  put(0);
  events.canWatch = false;
  const Answer answer = wait();
  ASSERT_FALSE(answer);
  EXPECT_EQ(answer.error(), FileWatcherError::failedToOpenFileDescriptor);
  EXPECT_EQ(reporting.breadcrumbs.at(0).level, ReportLevel::error);
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
