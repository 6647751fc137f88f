#include <gtest/gtest.h>

#include "base/text/LocalizedText.h"
#include "core/InterruptionNotice.h"
#include "core/RecordingFlowFixture.h"
#include "support/RunTask.h"
#include "support/WithoutPrivileges.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using E = TranscriptionError;

QString tooShort() {
  return localizedDescription(AudioError{AudioError::Kind::recordingTooShort, QString()});
}

// --- too short

TEST(RecordingStop, ThrowsAwayWhatIsTooShortOrTooSmall) {
  struct Case {
    Duration length;
    qint64 bytes;
    const char* discardedBy;  // nullptr: goes on
  };
  for (const Case& each : {Case{990ms, 64044, "duration"}, Case{990ms, 4999, "duration"}, Case{1s, 4999, "file_size"},
                           Case{1s, 5000, nullptr}}) {
    SCOPED_TRACE(QStringLiteral("%1 ms, %2 bytes").arg(each.length / 1ms).arg(each.bytes).toStdString());
    RecordingFlowFixture f;
    f.recorders.bytesAtStop = each.bytes;
    f.dictate(each.length);
    EXPECT_EQ(f.stateLabel(), "idle");
    EXPECT_EQ(f.powerActivity.held(), 0);
    EXPECT_FALSE(f.isCancelShortcutOn());
    EXPECT_FALSE(f.flow->currentRecordingAttemptId().has_value());
    const auto discarded = f.breadcrumbs(QStringLiteral("Recording discarded - too short"));
    if (each.discardedBy == nullptr) {
      EXPECT_EQ(f.onlyRow(), QStringLiteral("completed Hello there."));
      EXPECT_TRUE(discarded.empty());
      continue;
    }
    EXPECT_TRUE(f.rows().empty());
    EXPECT_TRUE(f.files().isEmpty());
    EXPECT_EQ(f.toasts(), QStringList{tooShort()});
    ASSERT_EQ(discarded.size(), 1u);
    EXPECT_EQ(discarded[0].data[QStringLiteral("recordingDurationMs")], qint64(each.length / 1ms));
    EXPECT_TRUE(f.state().showRecordingDialog);  // it closes by its own rule
  }
}

// --- the wait for the file

// The recorder leaves no file at all, so that its size is unknown.
struct NoFile : RecordingFlowFixture {
  NoFile() {
    recorders.bytesAtStart.reset();
    recorders.bytesAtStop.reset();
  }
  QString path() const { return settings.storage().recordingsFolder() + QStringLiteral("/recording_1700000000.wav"); }
  void stop() {
    record();
    press();
    executor.advance(2s + 10ms);  // the lifecycle's own wait for the raw file
  }
};

TEST(RecordingStop, AFileThatNeverComesIsKeptForARetry) {
  NoFile f;
  f.stop();
  f.settle();
  const QString reason = localizedDescription(FileWatcherError::fileNotCreated);
  EXPECT_EQ(f.onlyRow(), QStringLiteral("failed Error: ") + reason);
  EXPECT_EQ(f.rows().front()->failedReason, reason);
  EXPECT_EQ(f.state().lastTranscription, QStringLiteral("Error: ") + reason);
  EXPECT_EQ(f.state().pendingRetryAudioPath, f.path());
  EXPECT_TRUE(f.state().showRecordingDialog);
  EXPECT_EQ(f.stateLabel(), "idle");
  EXPECT_EQ(f.powerActivity.held(), 0);
  EXPECT_FALSE(f.isCancelShortcutOn());
  const auto left = f.breadcrumbs(QStringLiteral("File watcher failed"));
  ASSERT_EQ(left.size(), 1u);
  EXPECT_EQ(left[0].data[QStringLiteral("fallbackAttempts")], 20);

  // The file turns up: the retry shows the text and pastes nothing.
  FakeAudioRecorderFactory::fill(f.path(), 64044);
  runTask(f.executor, f.flow->retryPendingTranscription());
  EXPECT_EQ(f.state().lastTranscription, QStringLiteral("Hello there."));
  EXPECT_EQ(f.state().pendingRetryAudioPath, std::nullopt);
  EXPECT_EQ(f.transcriber.calls.back().audioPath, f.path());
  EXPECT_EQ(f.transcriber.calls.back().mode, f.mode);
  EXPECT_TRUE(f.pastedTexts().isEmpty());
  EXPECT_EQ(f.stateLabel(), "idle");
}

TEST(RecordingStop, AnEmptyFileThatIsNeverWrittenGoesOnAfterTheLimit) {
  NoFile f;
  f.stop();
  f.executor.advance(500ms);
  FakeAudioRecorderFactory::fill(f.path(), 0);
  f.executor.advance(3s);
  EXPECT_TRUE(f.transcriber.calls.empty());
  f.settle();
  EXPECT_TRUE(f.log->contains(
      QStringLiteral("File watcher failed but file is readable (attempt #1) – continuing to transcription")));
  EXPECT_EQ(f.onlyRow(), QStringLiteral("completed Hello there."));
}

// The finished file can't be read until the test says so.
struct UnreadableFile : RecordingFlowFixture {
  UnreadableFile() {
    locking = lifecycle.lastRecordingURL().observe([this](const std::optional<QString>& path) {
      if (path) lock(*path, true);
    });
  }
  void lock(const QString& path, bool isLocked) {
    QFile::setPermissions(path, isLocked ? QFile::Permissions() : QFile::ReadOwner | QFile::WriteOwner);
  }
  QString path() { return *lifecycle.lastRecordingURL().get(); }
  Subscription locking;
};

TEST(RecordingStop, AnUnreadableFileFailsAfterFiveChecks) {
  const WithoutPrivileges asUser;
  UnreadableFile f;
  f.record();
  f.press();
  f.executor.advance(390ms);
  EXPECT_TRUE(f.rows().empty());
  f.settle();
  EXPECT_EQ(f.log->count(QStringLiteral("Retrying in 100ms...")), 5);
  EXPECT_EQ(f.onlyRow(), QStringLiteral("failed Error: Audio file could not be read"));
  EXPECT_EQ(f.rows().front()->failedReason, QStringLiteral("Audio file could not be read"));
  EXPECT_EQ(f.state().pendingRetryAudioPath, f.path());
  EXPECT_EQ(f.stateLabel(), "idle");
  EXPECT_EQ(f.powerActivity.held(), 0);
  EXPECT_EQ(f.breadcrumbs(QStringLiteral("Audio file not readable after waiting.")).size(), 1u);

  runTask(f.executor, f.flow->retryPendingTranscription());
  EXPECT_EQ(f.state().lastTranscription, QStringLiteral("Error: Audio file missing for retry"));
  EXPECT_EQ(f.state().pendingRetryAudioPath, std::nullopt);
  EXPECT_TRUE(f.transcriber.calls.empty());
}

TEST(RecordingStop, APressDuringTheChecksGoesOverToTheSlowerOnes) {
  const WithoutPrivileges asUser;
  UnreadableFile f;
  f.record();
  f.press();
  f.executor.advance(150ms);
  f.flow->toggleRecording(std::nullopt, true, RecordingTriggerSource::uiButton);  // nothing to stop, but it is newer
  f.executor.advance(200ms);
  EXPECT_EQ(f.log->count(QStringLiteral("Failed to wait for audio file: ")), 1);
  EXPECT_EQ(f.log->count(QStringLiteral("Retrying in 100ms...")), 2);
  f.lock(f.path(), false);
  f.settle();
  EXPECT_EQ(f.onlyRow(), QStringLiteral("completed Hello there."));
}

// --- trimming, rewriting, tags, conversion

TEST(RecordingStop, TranscribesTheTrimmedFileAndKeepsBoth) {
  RecordingFlowFixture f;
  f.vad.trimmedPath = f.folder.filePath(QStringLiteral("trimmed.wav"));
  f.transcriber.rewriteTakes = 200ms;
  f.settings.storage().setStoreAsM4A(true);
  f.dictate();
  // The original becomes an M4A, behind the paste.
  EXPECT_EQ(f.pastedTexts().size(), 1);
  f.executor.runUntilIdle();
  EXPECT_EQ(f.files(), QStringList{QStringLiteral("recording_1700000000.m4a")});
  EXPECT_EQ(f.transcriber.calls[0].audioPath, *f.vad.trimmedPath);
  const TranscriptPtr row = f.rows().front();
  EXPECT_EQ(row->trimmedAudioFilePath, *f.vad.trimmedPath);
  EXPECT_EQ(row->audioFilePath, f.settings.storage().recordingsFolder() + u'/' + f.files().front());
  EXPECT_EQ(row->text, QStringLiteral("Rewritten: Hello there."));
  EXPECT_EQ(row->postProcessedText, row->text);
  EXPECT_EQ(row->transcribedText, QStringLiteral("Hello there."));
  EXPECT_EQ(row->postProcessingProvider, QStringLiteral("groq"));
  EXPECT_EQ(f.flow->lastTimings().get()->decoding, Duration(400ms));
  EXPECT_EQ(f.flow->lastTimings().get()->postProcessing, Duration(200ms));
  EXPECT_TRUE(f.vad.calls.at(0).isEnabled);
}

class FakeFileTags final : public SpokenFileTags {
 public:
  std::optional<QString> bundleId;
  int refreshes = 0;
  bool hasFileIndex() const override { return true; }
  Resolution resolve(const QString& text, const std::optional<QString>& target) override {
    bundleId = target;
    Resolution resolution{QString(text).replace(QStringLiteral("@{main}"), QStringLiteral("src/main.cpp")), {}};
    resolution.tags.push_back(
        {QStringLiteral("@{main}"), QStringLiteral("src/main.cpp"), QStringLiteral("/p/src/main.cpp"), std::nullopt});
    resolution.tags.push_back({QStringLiteral("@{none}"), QStringLiteral("@{none}"), std::nullopt, std::nullopt});
    return resolution;
  }
  Task<void> refreshFileIndex() override {
    ++refreshes;
    co_return;
  }
};

TEST(RecordingStop, SpokenFileNamesAreInThePasteOnlyAndInDeveloperModeOnly) {
  for (const bool isDeveloper : {false, true}) {
    RecordingFlowFixture f;
    FakeFileTags tags;
    f.makeFlow([&tags](auto& use) { use.fileTags = &tags; });
    f.settings.developerMode().setEnableDeveloperMode(isDeveloper);
    f.transcriber.answer = QStringLiteral("Open @{main}.");
    f.dictate();
    EXPECT_EQ(tags.refreshes, 1);
    EXPECT_EQ(f.onlyRow(), QStringLiteral("completed Open @{main}."));
    EXPECT_EQ(f.pastedTexts(),
              QStringList{isDeveloper ? QStringLiteral("Open src/main.cpp. ") : QStringLiteral("Open @{main}. ")});
    EXPECT_EQ(tags.bundleId, isDeveloper ? std::optional(QStringLiteral("org.example.Editor")) : std::nullopt);
    EXPECT_EQ(f.log->contains(QStringLiteral("🔍 File tag processing: 2 tags, 1 matched")), isDeveloper);
    f.flow.reset();
  }
}

// --- what the user sees of the paste

TEST(RecordingStop, ATextThatIsNotPastedStaysInTheDialog) {
  struct Case {
    const char* name;
    std::function<void(RecordingFlowFixture&)> prepare;
    const char* line;
    int pasted;
  };
  const Case cases[] = {
      {"switched off", [](RecordingFlowFixture& f) { f.settings.setPasteResultText(false); },
       "📋 Auto-paste disabled - transcription in dialog only", 0},
      {"password field",
       [](RecordingFlowFixture& f) {
         f.accessibility.focus(node(QStringLiteral("AXTextField"))
                                   ->with(QStringLiteral("AXSubrole"), QStringLiteral("AXSecureTextField")));
       },
       "📋 Auto-paste failed - text on clipboard, keeping dialog open", 1}};
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    RecordingFlowFixture f;
    each.prepare(f);
    f.dictate();
    EXPECT_EQ(f.onlyRow(), QStringLiteral("completed Hello there."));
    EXPECT_EQ(f.state().lastTranscription, QStringLiteral("Hello there."));
    EXPECT_TRUE(f.state().transcriptionPasteFailed);
    EXPECT_TRUE(f.state().showRecordingDialog);
    EXPECT_TRUE(f.keySynthesizer.strokes.isEmpty());
    EXPECT_EQ(f.pastedTexts().size(), each.pasted);
    EXPECT_TRUE(f.log->contains(QString::fromUtf8(each.line)));
    ASSERT_TRUE(f.flow->lastTimings().get().has_value());
    EXPECT_EQ(f.flow->lastTimings().get()->stopToText, Duration(400ms));
    f.press();  // the next one begins with a clean dialog
    f.executor.runReady();
    EXPECT_FALSE(f.state().transcriptionPasteFailed);
    EXPECT_TRUE(f.state().lastTranscription.isEmpty());
  }
}

// --- failures of the transcription

// The second of two quick dictations holds back what the first would have given back, until its own end.
TEST(RecordingStop, WhatPastesNothingGivesTheClipboardBackToo) {
  using Steps = std::function<void(RecordingFlowFixture&)>;
  const std::pair<const char*, Steps> cases[] = {
      {"cancelled while recording", [](RecordingFlowFixture& f) { f.flow->cancelFromShortcut(); }},
      {"cancelled while transcribing",
       [](RecordingFlowFixture& f) {
         f.press();
         f.executor.advance(100ms);
         f.flow->cancelFromShortcut();
       }},
      {"failed",
       [](RecordingFlowFixture& f) {
         f.transcriber.answer = Failed{AnyError(AudioError{AudioError::Kind::noAudioTrack, QString()})};
         f.press();
       }},
      {"not to be pasted",
       [](RecordingFlowFixture& f) {
         f.settings.setPasteResultText(false);
         f.press();
       }},
      {"file gone", [](RecordingFlowFixture& f) {
         f.recorders.bytesAtStop.reset();
         QFile::remove(f.recorders.paths.back());
         f.press();
       }}};
  for (const auto& [name, steps] : cases) {
    SCOPED_TRACE(name);
    RecordingFlowFixture f;
    f.pasteboard.copyElsewhere(QStringLiteral("mine"));
    f.record();
    f.press();
    f.executor.advance(1s);
    ASSERT_EQ(f.pasteboard.plainText(), QStringLiteral("Hello there. "));
    f.clock.set(f.clock.now().addSecs(2));
    f.record();
    steps(f);
    f.settle();
    EXPECT_EQ(f.stateLabel(), "idle");
    EXPECT_EQ(f.pastedTexts().size(), 1);
    f.executor.advance(12s);
    EXPECT_EQ(f.pasteboard.plainText(), QStringLiteral("mine"));
  }
}

TEST(RecordingStop, FailuresReachTheRowTheDialogAndTheToast) {
  struct Case {
    const char* name;
    AnyError error;
    bool isNetwork;
    bool isInterruption;
  };
  const Case cases[] = {
      {"no pipeline", AudioError{AudioError::Kind::noTranscriptionPipeline, QString()}, false, false},
      {"speech", TranscriptionError{E::NoSpeechDetected{}}, false, false},
      {"network", TranscriptionError{E::NetworkError{QStringLiteral("No internet connection")}}, true, false},
      {"hosted network", HostedCloudError{HostedCloudError::Kind::networkFailure, QStringLiteral("gone")}, true, false},
      {"hosted server", HostedCloudError{HostedCloudError::Kind::serverFailure, QStringLiteral("gone")}, false, false},
      {"no host", UrlError{UrlError::cannotFindHost, {}, QStringLiteral("no host")}, true, false},
      {"timed out", UrlError{UrlError::timedOut, {}, QStringLiteral("late")}, false, false},
      {"interrupted", TranscriptionError{E::StreamingInterrupted{}}, false, true}};
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    RecordingFlowFixture f;
    f.transcriber.answer = Failed{each.error};
    if (std::holds_alternative<AudioError>(each.error))
      f.makeFlow([](auto& use) { use.transcriptionPipeline = nullptr; });
    f.record();
    f.appState.update([](AppStateData& data) { data.lastTranscription = QStringLiteral("partial"); });
    f.press();
    f.settle();
    const QString description = localizedDescription(each.error);
    EXPECT_EQ(f.onlyRow(), QStringLiteral("failed Transcription failed: ") + description);
    EXPECT_EQ(f.rows().front()->failedReason, description);
    const bool isToast = !each.isNetwork && !each.isInterruption;
    EXPECT_EQ(f.toasts(), isToast ? QStringList{description} : QStringList());
    EXPECT_EQ(f.state().lastFailedTranscript, isToast ? f.rows().front()->id : std::nullopt);
    EXPECT_EQ(f.state().errorMessage, isToast ? std::optional(description) : std::nullopt);
    EXPECT_EQ(f.state().lastTranscription, each.isInterruption ? QStringLiteral("partial")
                                           : each.isNetwork    ? QStringLiteral("Error: No internet connection")
                                                               : QStringLiteral("Error: ") + description);
    EXPECT_EQ(f.stateLabel(), "idle");
    EXPECT_EQ(f.powerActivity.held(), 0);
    EXPECT_FALSE(f.isCancelShortcutOn());
    EXPECT_FALSE(f.flow->currentRecordingAttemptId().has_value());
    EXPECT_TRUE(f.pastedTexts().isEmpty());
    EXPECT_EQ(f.files().size(), 1);
  }
}

// --- ends that nobody asked for

TEST(RecordingInterruption, FinishesByItselfAndSaysWhatWasKept) {
  using Kind = AudioRecorder::Interruption::Kind;
  struct Case {
    Kind kind;
    Duration length;
    QString toast;
    bool isKept;
  };
  for (const Case& each : {Case{Kind::deviceGone, 12500ms, QStringLiteral("Microphone gone. Kept 0:12."), true},
                           Case{Kind::serverGone, 61s, QStringLiteral("The sound server stopped. Kept 1:01."), true},
                           Case{Kind::writeFailed, 2s, QStringLiteral("The disk took no more audio. Kept 0:02."), true},
                           Case{Kind::deviceGone, 900ms,
                                QStringLiteral("Microphone gone. The recording was too short to keep."), false}}) {
    SCOPED_TRACE(each.toast.toStdString());
    RecordingFlowFixture f;
    f.record(each.length);
    f.recorders.bytesAtStart = 64044;
    FakeAudioRecorderFactory::fill(f.recorders.paths[0], 64044);
    f.recorders.interrupt({each.kind, QStringLiteral("gone")});
    f.settle();
    EXPECT_EQ(f.toasts(), QStringList{each.toast});
    EXPECT_EQ(f.onlyRow(), each.isKept ? QStringLiteral("completed Hello there.") : QString());
    EXPECT_EQ(f.files().size(), each.isKept ? 1 : 0);
    EXPECT_EQ(f.stateLabel(), "idle");
    EXPECT_EQ(f.powerActivity.held(), 0);
  }
}

TEST(RecordingInterruption, APressInTheSameMomentStopsOnce) {
  RecordingFlowFixture f;
  f.record();
  f.press();
  f.recorders.interrupt({AudioRecorder::Interruption::Kind::deviceGone, QStringLiteral("gone")});
  f.settle();
  EXPECT_EQ(f.toasts(), QStringList{QStringLiteral("Microphone gone. Kept 0:02.")});
  EXPECT_EQ(f.onlyRow(), QStringLiteral("completed Hello there."));
  EXPECT_EQ(f.recorders.paths.size(), 1);
}

TEST(RecordingShutDown, LosesNothingThatWasSaid) {
  enum class When { recording, finishing, transcribing };
  for (const When when : {When::recording, When::finishing, When::transcribing}) {
    SCOPED_TRACE(int(when));
    RecordingFlowFixture f;
    f.vad.takes = 50ms;
    f.record();
    if (when != When::recording) f.press();
    if (when != When::recording) f.executor.advance(when == When::finishing ? 20ms : 200ms);
    TaskScope closing(f.executor);
    auto end = closing.spawn(f.flow->shutDown());
    f.executor.advance(when == When::finishing ? 50ms : 20ms);
    EXPECT_TRUE(end.isDone());
    f.press();
    f.settle();
    const QString reason = QStringLiteral("Quillmere was closed before this recording was transcribed.");
    EXPECT_EQ(f.onlyRow(), QStringLiteral("failed Transcription failed: ") + reason);
    EXPECT_EQ(f.rows().front()->failedReason, reason);
    EXPECT_TRUE(QFile::exists(*f.rows().front()->audioFilePath));
    EXPECT_TRUE(f.persistence->fetchUnfinishedRecordingSessions().empty());
    EXPECT_EQ(f.recorders.paths.size(), 1);  // no press counts any more
    EXPECT_EQ(f.powerActivity.held(), 0);
  }
}

TEST(RecordingShutDown, AFileThatIsNeverFinishedIsLeftToTheRecovery) {
  for (const bool isStopUnderWay : {true, false}) {
    RecordingFlowFixture f;
    f.recorders.stopTakes = 1h;
    f.record();
    if (isStopUnderWay) f.press();
    f.executor.advance(1s);
    TaskScope closing(f.executor);
    auto end = closing.spawn(f.flow->shutDown());
    f.executor.advance(9s);
    EXPECT_FALSE(end.isDone());
    f.executor.advance(2s);
    EXPECT_TRUE(end.isDone());
    EXPECT_EQ(f.persistence->fetchUnfinishedRecordingSessions().size(), 1u);
  }
}

}  // namespace
}  // namespace quillmere
