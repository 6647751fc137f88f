// A process that is killed at any moment of a dictation: what the next one makes of the store and the files that are
// left.
#include <gtest/gtest.h>

#include "core/RecordingFlowFixture.h"
#include "recording/CrashRecoveryManager.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

// Everything that was there is gone but the disk: it never runs again, and another process recovers.
struct KilledProcess : RecordingFlowFixture {
  KilledProcess() : RecordingFlowFixture(Store::onDisk) {
    recorders.bytesAtStart = 64044;
    recorders.stopTakes = 10ms;
    vad.takes = 10ms;
    transcriber.takes = 10ms;
    saves = persistence->observeChanges([this](const StoreChange&) { ++saveCount; });
  }

  QString disk() const {
    QString text = QString::number(saveCount);
    for (const QString& name : files()) text += u' ' + name;
    return text;
  }
  // One queued function, or a piece of time. False: nothing is left to be done.
  bool step() {
    if (executor.runOne()) return true;
    if (++steps > 2000) throw std::logic_error("the dictation does not end");
    if (executor.timerCount() == 0 && executor.externalWorkCount() == 0) return false;
    executor.advance(50ms);
    return true;
  }
  // The rows of the history after the next launch, and after the one behind it.
  std::pair<size_t, size_t> recover() {
    const auto next = std::move(*PersistenceController::open(storeAt, clock, logging));
    processLocks.kill();
    FakeProcessLocks nextLocks(processLocks.machine());
    RecordingSessionManager nextSessions(*next, clock, nextLocks, logging);
    CrashRecoveryManager manager({*next, nextSessions, nextLocks, converter, samples, clock, settings.storage()},
                                 logging);
    ManualExecutor nextExecutor;
    runTask(nextExecutor, manager.recoverOrphanedRecordings());
    const size_t first = next->fetchTranscripts(-1).size();
    for (const TranscriptPtr& row : next->fetchTranscripts(-1))
      EXPECT_TRUE(row->audioFilePath && QFile::exists(*row->audioFilePath)) << "a row has its audio";
    runTask(nextExecutor, manager.recoverOrphanedRecordings());
    return {first, next->fetchTranscripts(-1).size()};
  }

  int saveCount = 0;
  int steps = 0;
  Subscription saves;
  TaskScope callers{executor};
};

struct KilledDictation {
  const char* name;
  std::function<void(KilledProcess&)> act;  // what the user does before the first moment
  // How many recordings the history must have after the next launch when the process was killed now.
  std::function<size_t(KilledProcess&)> expected;
};

size_t one(KilledProcess&) {
  return 1;
}
// Thrown away as soon as it is stopped.
size_t noneOnceStopped(KilledProcess& f) {
  return f.lifecycle.isRecording().get() ? 1 : 0;
}

const KilledDictation dictations[] = {
    {"Transcribed",
     [](KilledProcess& f) {
       f.record();
       f.press();
     },
     one},
    {"TranscriptionFails",
     [](KilledProcess& f) {
       f.transcriber.answer = Failed{AnyError(TranscriptionError{TranscriptionError::NoSpeechDetected{}})};
       f.record();
       f.press();
     },
     one},
    {"Cancelled",
     [](KilledProcess& f) {
       f.record();
       f.flow->cancelFromShortcut();
     },
     noneOnceStopped},  // its row is no part of the history
    {"TooShort",
     [](KilledProcess& f) {
       f.record(900ms);
       f.press();
     },
     noneOnceStopped},
    {"TooSmall",
     [](KilledProcess& f) {
       f.recorders.bytesAtStop = 4000;
       f.record();
       f.press();
     },
     [](KilledProcess& f) -> size_t {
       const auto sessions = f.persistence->fetchAllRecordingSessions();
       return sessions.empty() || sessions[0]->endTime ? 0 : 1;
     }},
    {"Interrupted",
     [](KilledProcess& f) {
       f.record();
       f.recorders.interrupt({AudioRecorder::Interruption::Kind::deviceGone, "gone"});
     },
     one},
    {"ApplicationEnds",
     [](KilledProcess& f) {
       f.record();
       static_cast<void>(f.callers.spawn(f.flow->shutDown()));
     },
     one},
    {"ApplicationEndsInTheMiddleOfAStop",
     [](KilledProcess& f) {
       f.record();
       f.press();
       f.executor.advance(15ms);
       static_cast<void>(f.callers.spawn(f.flow->shutDown()));
     },
     one},
    {"TheNextOneBeginsWhileItIsFinished",
     [](KilledProcess& f) {
       f.record();
       f.press();
       f.executor.runReady();
       f.clock.set(f.clock.now().addSecs(5));
       f.record();
       f.press();
     },
     [](KilledProcess&) -> size_t { return 2; }},
};

class RecordingRecovery : public testing::TestWithParam<KilledDictation> {};

TEST_P(RecordingRecovery, FindsEveryRecordingOnceWhereverTheProcessIsKilled) {
  int last = -1;  // moments that were tried already
  while (true) {
    KilledProcess f;
    GetParam().act(f);
    int moment = 0;
    bool isOver = false;
    for (QString before; !isOver && (moment <= last || f.disk() == before); ++moment) {
      before = f.disk();
      isOver = !f.step();
    }
    SCOPED_TRACE(
        QStringLiteral("moment %1%2: %3").arg(moment).arg(isOver ? ", the end" : "").arg(f.disk()).toStdString());
    last = moment;
    const size_t expected = GetParam().expected(f);
    const auto [first, second] = f.recover();
    EXPECT_EQ(first, expected);
    EXPECT_EQ(second, expected) << "once only";
    if (isOver || HasFailure()) break;
  }
  EXPECT_GT(last, 3);
}

INSTANTIATE_TEST_SUITE_P(All, RecordingRecovery, testing::ValuesIn(dictations),
                         [](const auto& test) { return test.param.name; });

// Between any two writes of the store the recording is in the history or in a session that awaits it: never in neither,
// never in both.
TEST(RecordingRecoveryStore, EveryWriteLeavesTheRecordingInOnePlace) {
  KilledProcess f;
  f.record();
  const Subscription watching = f.persistence->observeChanges([&f](const StoreChange&) {
    const auto next = std::move(*PersistenceController::open(f.storeAt, f.clock, f.logging));
    const size_t awaited = next->fetchUnfinishedRecordingSessions().size() +
                           next->fetchRecordingSessionsWithStatus(RecordingSessionManager::unsettledStatus).size();
    EXPECT_EQ(next->fetchTranscripts(-1).size() + awaited, 1u);
  });
  f.press();
  f.settle();
  EXPECT_EQ(f.onlyRow(), "completed Hello there.");
  const auto sessions = f.persistence->fetchAllRecordingSessions();
  ASSERT_EQ(sessions.size(), 1u);
  EXPECT_EQ(f.rows().front()->recordingSession, sessions[0]);
}

}  // namespace
}  // namespace quillmere
