#include "core/RecordingTranscriptionFlow.h"

#include <gtest/gtest.h>

#include "base/text/LocalizedText.h"
#include "core/RecordingFlowFixture.h"
#include "support/RunTask.h"
#include "support/WithoutPrivileges.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using E = TranscriptionError;

void expectIdle(RecordingFlowFixture& f) {
  EXPECT_FALSE(f.lifecycle.isRecording().get());
  EXPECT_TRUE(f.recorders.running.empty());
  EXPECT_EQ(f.stateLabel(), "idle");
  EXPECT_EQ(f.powerActivity.held(), 0);
  EXPECT_FALSE(f.isCancelShortcutOn());
  EXPECT_FALSE(f.state().showCancelConfirmation);
  EXPECT_EQ(f.flow->underWay(), 0u);
}

// --- the whole road

TEST(RecordingTranscriptionFlowTest, CarriesADictationFromThePressToTheCursor) {
  RecordingFlowFixture f;
  f.vad.takes = 30ms;
  f.recorders.firstSample = 12ms;
  f.press();
  f.executor.runReady();
  EXPECT_EQ(f.stateLabel(), "recording");
  EXPECT_TRUE(f.state().showRecordingDialog);
  EXPECT_TRUE(f.isCancelShortcutOn());
  EXPECT_EQ(f.powerActivity.held(), 1);
  f.executor.advance(2s);
  f.mode->name = "Post";  // renamed meanwhile, it is the same mode
  f.persistence->save();

  f.press();
  f.executor.advance(100ms);
  EXPECT_EQ(f.stateLabel(), "transcribing");
  EXPECT_EQ(f.rows().front()->status, "processing");
  f.settle();

  EXPECT_EQ(f.onlyRow(), "completed Hello there.");
  const TranscriptPtr row = f.rows().front();
  EXPECT_EQ(row->mode, "Post");
  EXPECT_EQ(f.transcriber.calls.at(0).mode, f.mode);
  EXPECT_DOUBLE_EQ(*row->duration, 2.0);
  EXPECT_EQ(f.pastedTexts(), QStringList{"Hello there. "});  // the space is in the paste only
  EXPECT_FALSE(f.state().showRecordingDialog);
  expectIdle(f);
  const auto timings = f.flow->lastTimings().get();
  ASSERT_TRUE(timings && timings->decodedToPasted);
  EXPECT_EQ(timings->triggerToFirstSample, Duration(12ms));
  EXPECT_EQ(timings->stopToDecoding, Duration(30ms));
  EXPECT_EQ(*timings->stopToText, 430ms + *timings->decodedToPasted);
}

TEST(RecordingTranscriptionFlowTest, LooksIntoOtherProgramsOnlyForSomebodyWhoReadsIt) {
  for (const bool isRewritten : {false, true}) {
    RecordingFlowFixture f;
    f.mode->postProcessingMode = qint16(isRewritten ? PostProcessingMode::local : PostProcessingMode::off);
    f.transcriber.rewriteTakes = 200ms;
    const size_t visits = f.accessibility.limits.size();
    f.record();
    EXPECT_EQ(f.accessibility.limits.size() > visits, isRewritten);
    f.press();
    f.settle();
    EXPECT_EQ(f.transcriber.calls.at(0).applicationContext.has_value(), isRewritten);
  }
}

// --- presses that meet

TEST(RecordingTranscriptionFlowTest, PressesDuringTheStart) {
  using Step = std::function<void(RecordingFlowFixture&)>;
  const Step press = [](RecordingFlowFixture& f) { f.press(); };
  const Step hold = [](RecordingFlowFixture& f) { f.flow->holdBegan(); };
  const Step letGo = [](RecordingFlowFixture& f) { f.flow->holdEnded(); };
  const Step cancel = [](RecordingFlowFixture& f) {
    f.flow->cancelFromShortcut();
    EXPECT_FALSE(f.state().showRecordingDialog);
  };
  struct Case {
    const char* name;
    Step first;
    Duration pause;
    Step second;
    bool runsOn;  // the recorder, once it has come up
  };
  const Case cases[] = {{"two presses in one turn are one", press, 0ms, press, true},
                        {"a later press stops it", press, 200ms, press, false},
                        {"a held key let go", hold, 200ms, letGo, false},
                        {"thrown away", press, 200ms, cancel, false}};
  for (const bool isAtPermission : {true, false}) {
    for (const Case& each : cases) {
      SCOPED_TRACE(each.name);
      RecordingFlowFixture f;
      if (isAtPermission) {
        f.authorization.current = MicrophoneAuthorization::Status::notDetermined;
        f.authorization.questionTakes = 700ms;
      } else {
        f.recorders.startTakes = 700ms;
      }
      each.first(f);
      if (each.pause > 0ms) f.executor.advance(each.pause);
      each.second(f);
      f.executor.advance(3s);
      EXPECT_EQ(f.recorders.running.size(), each.runsOn ? 1u : 0u);
      if (each.runsOn) f.press();
      f.settle();
      expectIdle(f);
      EXPECT_LE(f.recorders.paths.size(), 1);
      EXPECT_EQ(f.onlyRow(), each.runsOn ? "completed Hello there." : QString());
      EXPECT_EQ(f.files().size(), each.runsOn ? 1 : 0);
    }
  }
}

// Two dictations at once: whoever ends first changes nothing of the other, and each text goes to its own target.
TEST(RecordingTranscriptionFlowTest, OverlappingDictationsKeepApart) {
  for (const bool isFirstLong : {false, true}) {
    SCOPED_TRACE(isFirstLong ? "B is stopped while A is transcribed" : "A ends while B records");
    RecordingFlowFixture f;
    const RunningApplication mail{43, "org.example.Mail", "Mail", {}, false};
    f.accessibility.addApplication(mail.processId, node("AXWindow"));
    QStringList went;
    f.keySynthesizer.onStroke = [&](const QString&) {
      went << f.workspace.frontmost->localizedName + u':' + f.pasteboard.plainText().value_or(QString());
    };
    f.transcriber.takes = isFirstLong ? 10s : 3s;
    f.transcriber.answer = QStringLiteral("First.");
    f.record();
    f.press();
    f.executor.advance(100ms);
    f.workspace.setFrontmost(mail);
    f.clock.set(f.clock.now().addSecs(2));
    f.transcriber.answer = QStringLiteral("Second.");
    f.record();
    EXPECT_EQ(f.powerActivity.held(), 1);
    if (!isFirstLong) {
      f.executor.advance(3s);  // the first is pasted meanwhile
      EXPECT_EQ(went, QStringList{"Editor:First. "});
      EXPECT_EQ(f.workspace.frontmost->localizedName, "Mail");
      EXPECT_EQ(f.stateLabel(), "recording");
      EXPECT_TRUE(f.isCancelShortcutOn());
      EXPECT_EQ(f.powerActivity.held(), 1);
    }
    f.press();
    f.executor.advance(30s);
    EXPECT_EQ(went, (QStringList{"Editor:First. ", "Mail:Second. "}));
    EXPECT_EQ(f.workspace.frontmost->localizedName, "Mail");
    EXPECT_EQ(f.transcriber.cancels, 0);
    const auto rows = f.rows();
    ASSERT_EQ(rows.size(), 2u);
    for (const auto& row : rows) EXPECT_EQ(row->status, "completed");
    expectIdle(f);
  }
}

// --- throwing away

TEST(RecordingTranscriptionFlowTest, CancelThrowsAwayUpToFifteenSecondsAndAsksAbove) {
  struct Case {
    Duration length;
    bool hasPill;
    bool asks;
  };
  for (const Case& each : {Case{14900ms, true, false}, Case{15100ms, true, true}, Case{15100ms, false, false}}) {
    SCOPED_TRACE(each.length / 1ms);
    RecordingFlowFixture f;
    f.settings.general().setShowRecordingWindow(each.hasPill);
    f.shortcuts.setShortcut(shortcutNames::cancelRecording, KeyCombination{}).hasValue();
    f.record(each.length);
    EXPECT_TRUE(f.shortcuts.release(shortcutNames::cancelRecording));
    EXPECT_EQ(f.state().showCancelConfirmation, each.asks);
    f.executor.advance(1s);
    EXPECT_EQ(f.lifecycle.isRecording().get(), each.asks);
    if (each.asks) {  // a second press takes the question back
      EXPECT_TRUE(f.shortcuts.release(shortcutNames::cancelRecording));
      f.executor.advance(1s);
      EXPECT_FALSE(f.state().showCancelConfirmation);
      EXPECT_TRUE(f.lifecycle.isRecording().get());
      f.flow->cancelFromShortcut();
      f.press();  // the question goes with the recording it is about
      f.settle();
      EXPECT_EQ(f.onlyRow(), "completed Hello there.");
      expectIdle(f);
      continue;
    }
    expectIdle(f);
    EXPECT_FALSE(f.state().showRecordingDialog);
    EXPECT_TRUE(f.rows().empty());  // no part of the history, but to be found for a day
    const auto discarded = f.persistence->fetchTranscripts(-1, 0, {}, HistoryFilter::discarded);
    ASSERT_EQ(discarded.size(), 1u);
    EXPECT_TRUE(QFile::exists(*discarded[0]->audioFilePath));
    EXPECT_TRUE(f.transcriber.calls.empty());
  }
}

TEST(RecordingTranscriptionFlowTest, CancelDuringTheTranscriptionLeavesARowToBeRetried) {
  for (const bool duringRewrite : {false, true}) {
    RecordingFlowFixture f;
    f.transcriber.takes = 1s;
    if (duringRewrite) f.transcriber.rewriteTakes = 1s;
    f.record();
    f.press();
    f.executor.advance(duringRewrite ? 1500ms : 500ms);
    ASSERT_EQ(f.stateLabel(), duringRewrite ? "post_processing" : "transcribing");
    f.flow->cancelFromShortcut();
    EXPECT_EQ(f.stateLabel(), "idle");  // at once
    EXPECT_FALSE(f.state().showRecordingDialog);
    f.settle();
    EXPECT_EQ(f.transcriber.cancels, 1);
    EXPECT_EQ(f.rows().front()->status, "failed");
    EXPECT_TRUE(f.toasts().isEmpty());
    EXPECT_TRUE(f.pastedTexts().isEmpty());
    expectIdle(f);
  }
}

// --- ends without a text

TEST(RecordingTranscriptionFlowTest, TooShortAndNothingHeardAreTwoWordsOnThePill) {
  struct Case {
    const char* name;
    Duration length;
    std::optional<qint64> bytes;
    Result<QString, AnyError> answer;
    DictationNotice notice;
    int rows;
  };
  const QString hello = "Hello there.";
  const auto noSpeech = Failed{AnyError(E{E::NoSpeechDetected{}})};
  const Case cases[] = {{"short", 990ms, 64044, hello, DictationNotice::tooShort, 0},
                        {"small", 1s, 4999, hello, DictationNotice::tooShort, 0},
                        {"just long enough", 1s, 5000, hello, DictationNotice::none, 1},
                        {"silence", 2s, 64044, QString("  "), DictationNotice::nothingHeard, 1},
                        {"no speech", 2s, 64044, noSpeech, DictationNotice::nothingHeard, 1}};
  for (const bool hasPill : {true, false}) {
    for (const Case& each : cases) {
      SCOPED_TRACE(each.name);
      RecordingFlowFixture f;
      f.settings.general().setShowRecordingWindow(hasPill);
      f.pasteboard.copyElsewhere("mine");
      f.recorders.bytesAtStop = each.bytes;
      f.transcriber.answer = each.answer;
      f.dictate(each.length);
      f.executor.advance(12s);
      const bool isNotice = each.notice != DictationNotice::none;
      EXPECT_EQ(f.state().dictationNotice, hasPill ? each.notice : DictationNotice::none);
      EXPECT_EQ(f.state().showRecordingDialog, hasPill && isNotice);  // goes by its own rule
      EXPECT_EQ(f.toasts().size(), !hasPill && isNotice ? 1 : 0);
      EXPECT_EQ(f.rows().size(), size_t(each.rows));
      EXPECT_EQ(f.keySynthesizer.strokes.isEmpty(), isNotice);
      EXPECT_EQ(f.pasteboard.plainText(), "mine");
      expectIdle(f);
      f.press();
      f.executor.runReady();
      EXPECT_EQ(f.state().dictationNotice, DictationNotice::none);
    }
  }
}

// The recorder leaves no file at all, so that its size is unknown.
TEST(RecordingTranscriptionFlowTest, AFileThatNeverComesIsARowThatCanBeRetried) {
  RecordingFlowFixture f;
  f.recorders.bytesAtStart.reset();
  f.recorders.bytesAtStop.reset();
  f.dictate();
  f.executor.advance(12s);
  EXPECT_EQ(f.rows().size(), 1u);
  EXPECT_EQ(f.rows().front()->status, "failed");
  EXPECT_TRUE(f.state().dictationError.has_value());
  EXPECT_EQ(f.toasts().size(), 1);
  expectIdle(f);
}

TEST(RecordingTranscriptionFlowTest, AFileThatBecomesReadableLateIsTranscribed) {
  const WithoutPrivileges asUser;
  RecordingFlowFixture f;
  const auto allow = [](const QString& path, bool isAllowed) {
    QFile::setPermissions(path, isAllowed ? QFile::ReadOwner | QFile::WriteOwner : QFile::Permissions());
  };
  Subscription locking = f.lifecycle.lastRecordingURL().observe([&](const std::optional<QString>& path) {
    if (path) allow(*path, false);
  });
  f.record();
  f.press();
  f.executor.advance(250ms);
  EXPECT_TRUE(f.rows().empty());
  allow(*f.lifecycle.lastRecordingURL().get(), true);
  f.settle();
  EXPECT_EQ(f.onlyRow(), "completed Hello there.");
}

TEST(RecordingTranscriptionFlowTest, FailuresReachTheRowThePillAndTheToast) {
  struct Case {
    AnyError error;
    bool isCritical;
    bool isNetwork;
  };
  const Case cases[] = {{AudioError{AudioError::Kind::noAudioTrack, QString()}, false, false},
                        {E{E::Unauthorized{"OpenAI"}}, true, false},
                        {E{E::QuotaExceeded{"X", {}}}, true, false},
                        {E{E::InsufficientCredits{1, 2}}, true, false},
                        {E{E::RateLimited{}}, false, false},
                        {HostedCloudError{HostedCloudError::Kind::insufficientCredits, "empty"}, true, false},
                        {E{E::NetworkError{"gone"}}, false, true},
                        {UrlError{UrlError::cannotFindHost, {}, "no host"}, false, true},
                        {UrlError{UrlError::timedOut, {}, "late"}, false, false}};
  for (const Case& each : cases) {
    RecordingFlowFixture f;
    const QString description = localizedDescription(each.error);
    SCOPED_TRACE(description.toStdString());
    f.transcriber.answer = Failed{each.error};
    f.dictate();
    EXPECT_EQ(f.rows().front()->status, "failed");
    EXPECT_EQ(f.rows().front()->failedReason, description);
    const QString told = each.isNetwork ? localizedText("recording.error.noInternet") : description;
    EXPECT_TRUE(f.state().dictationError == (DictationError{told, each.isCritical, each.isNetwork}));
    EXPECT_EQ(f.toasts(), QStringList{told});
    EXPECT_EQ(f.state().lastFailedTranscript, f.rows().front()->id);
    EXPECT_FALSE(f.state().showRecordingDialog);
    EXPECT_TRUE(f.pastedTexts().isEmpty());
    expectIdle(f);
  }
}

TEST(RecordingTranscriptionFlowTest, ATextThatIsNotPastedStaysInThePill) {
  for (const bool isSwitchedOff : {true, false}) {
    RecordingFlowFixture f;
    if (isSwitchedOff)
      f.settings.setPasteResultText(false);
    else
      f.accessibility.focus(node("AXTextField")->with("AXSubrole", "AXSecureTextField"));
    f.dictate();
    EXPECT_EQ(f.onlyRow(), "completed Hello there.");
    EXPECT_EQ(f.state().lastTranscription, "Hello there.");
    EXPECT_TRUE(f.state().transcriptionPasteFailed);
    EXPECT_TRUE(f.state().showRecordingDialog);
    EXPECT_TRUE(f.keySynthesizer.strokes.isEmpty());
    EXPECT_EQ(f.state().lastPaste, isSwitchedOff ? PasteOutcome::none : PasteOutcome::secureField);
    expectIdle(f);
  }
}

// Whatever becomes of the second of two quick dictations, the user's own clipboard comes back after it.
TEST(RecordingTranscriptionFlowTest, WhatPastesNothingGivesTheClipboardBackToo) {
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
         f.transcriber.answer = Failed{AnyError(E{E::Busy{}})};
         f.press();
       }},
      {"not to be pasted", [](RecordingFlowFixture& f) {
         f.settings.setPasteResultText(false);
         f.press();
       }}};
  for (const auto& [name, steps] : cases) {
    SCOPED_TRACE(name);
    RecordingFlowFixture f;
    f.pasteboard.copyElsewhere("mine");
    f.record();
    f.press();
    f.executor.advance(1s);
    ASSERT_EQ(f.pasteboard.plainText(), "Hello there. ");
    f.clock.set(f.clock.now().addSecs(2));
    f.record();
    steps(f);
    f.settle();
    EXPECT_EQ(f.pastedTexts().size(), 1);
    f.executor.advance(12s);
    EXPECT_EQ(f.pasteboard.plainText(), "mine");
    expectIdle(f);
  }
}

// --- before anything is spoken

TEST(RecordingTranscriptionFlowTest, WhatCannotRunSaysSoAtThePress) {
  struct Case {
    const char* name;
    std::function<void(RecordingFlowFixture&)> prepare;
    bool isCritical;
    bool isAlert;
  };
  const Case cases[] = {
      {"no key",
       [](RecordingFlowFixture& f) {
         f.readiness.problem = E{E::ApiKeyMissing{"Deepgram"}};
         f.readiness.missing = {MissingAPIKey{MissingAPIKey::Transcription{CloudProvider::deepgram}}};
       },
       true, true},
      {"no model", [](RecordingFlowFixture& f) { f.readiness.problem = E{E::ModelNotDownloaded{}}; }, false, false},
      {"mode is gone",
       [](RecordingFlowFixture& f) {
         f.appState.update([](AppStateData& data) { data.selectedModeId = "no mode has this"; });
       },
       false, false}};
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    RecordingFlowFixture f;
    each.prepare(f);
    f.press();
    f.settle();
    EXPECT_TRUE(f.recorders.paths.isEmpty());
    ASSERT_TRUE(f.state().dictationError.has_value());
    EXPECT_EQ(f.state().dictationError->isCritical, each.isCritical);
    EXPECT_EQ(f.state().showAPIKeyAlert, each.isAlert);
    EXPECT_EQ(f.toasts().size(), 1);
    EXPECT_FALSE(f.state().showRecordingDialog);
    expectIdle(f);
  }
  RecordingFlowFixture f;
  f.appState.update([](AppStateData& data) { data.isStreamingShortcutTriggered = true; });
  f.press(RecordingTriggerSource::streamingShortcut);  // live dictation isn't there yet
  f.settle();
  EXPECT_EQ(f.toasts().size(), 1);
  EXPECT_TRUE(f.recorders.paths.isEmpty());
  EXPECT_FALSE(f.state().isStreamingShortcutTriggered);
  // Without the key of the rewriting the plain text will do.
  f.readiness.missing = {MissingAPIKey{MissingAPIKey::PostProcessing{PostProcessingProvider::anthropic}}};
  f.record();
  EXPECT_TRUE(f.lifecycle.isRecording().get());
  EXPECT_TRUE(f.state().postProcessingKeyMissing);
  EXPECT_FALSE(f.state().showAPIKeyAlert);
}

TEST(RecordingTranscriptionFlowTest, AStartThatFailsIsToldReportedAndForgotten) {
  RecordingFlowFixture f;
  f.dictate();
  const QStringList before = f.files();
  f.recorders.recordError = PlatformError{"audio", 5, "The sound server refused."};
  f.clock.set(f.clock.now().addSecs(5));
  f.press();
  f.settle();
  EXPECT_EQ(f.files(), before);  // the recording before is not the one that is removed
  EXPECT_EQ(f.persistence->fetchAllRecordingSessions().size(), 1u);
  EXPECT_FALSE(f.state().showRecordingDialog);
  EXPECT_EQ(f.toasts().size(), 1);
  expectIdle(f);
  EXPECT_EQ(f.reporting.reports.size(), 1u);

  f.recorders.recordError.reset();
  f.dictate();
  EXPECT_EQ(f.rows().size(), 2u);

  f.authorization.current = MicrophoneAuthorization::Status::denied;
  f.authorization.grants = false;
  f.press();
  f.settle();
  EXPECT_TRUE(f.permission.showPermissionDeniedAlert().get());
  EXPECT_FALSE(f.state().showRecordingDialog);
  EXPECT_EQ(f.recorders.paths.size(), 3);
  expectIdle(f);
  f.authorization.grants = true;  // allowed since
  f.clock.set(f.clock.now().addSecs(5));
  f.dictate();
  EXPECT_EQ(f.rows().size(), 3u);
}

// --- ends that nobody asked for

TEST(RecordingTranscriptionFlowTest, AnInterruptionFinishesByItselfAndSaysWhatWasKept) {
  using Kind = AudioRecorder::Interruption::Kind;
  struct Case {
    Kind kind;
    Duration length;
    QString toast;
    bool isKept;
    bool isPressedToo;
  };
  for (const Case& each :
       {Case{Kind::deviceGone, 12500ms, "Microphone gone. Kept 0:12.", true, false},
        Case{Kind::deviceGone, 12500ms, "Microphone gone. Kept 0:12.", true, true},
        Case{Kind::serverGone, 61s, "The sound server stopped. Kept 1:01.", true, false},
        Case{Kind::deviceGone, 900ms, "Microphone gone. The recording was too short to keep.", false, false}}) {
    SCOPED_TRACE(each.toast.toStdString());
    RecordingFlowFixture f;
    f.record(each.length);
    FakeAudioRecorderFactory::fill(f.recorders.paths[0], 64044);
    if (each.isPressedToo) f.press();
    f.recorders.interrupt({each.kind, "gone"});
    f.settle();
    EXPECT_EQ(f.toasts(), QStringList{each.toast});
    EXPECT_EQ(f.onlyRow(), each.isKept ? "completed Hello there." : QString());
    EXPECT_EQ(f.recorders.paths.size(), 1);
    expectIdle(f);
  }
}

// Every folder that recordings could go to is taken away while the recorder runs: what is there is not thrown away.
TEST(RecordingTranscriptionFlowTest, StorageThatBecomesUnusableEndsTheRecordingAndKeepsIt) {
  for (const bool isRecovered : {false, true}) {
    RecordingFlowFixture f;
    f.recoversFolder = isRecovered;
    bool isLost = false;
    Subscription losing = f.lifecycle.isRecording().observe([&](const bool& isRecording) {
      if (!isRecording || std::exchange(isLost, true)) return;
      QDir(f.settings.storage().recordingsFolder()).removeRecursively();
      for (const QString& path : {f.settings.storage().recordingsFolder(), f.folders.downloads, f.folders.temporary,
                                  f.folders.documents, f.folders.applicationSupport}) {
        QDir(path).removeRecursively();
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly)) std::abort();
      }
    });
    f.recorders.bytesAtStop.reset();
    f.record(119s);
    EXPECT_TRUE(f.lifecycle.isRecording().get());
    f.executor.advance(20s);
    EXPECT_EQ(f.lifecycle.isRecording().get(), isRecovered);
    EXPECT_EQ(f.toasts().contains(localizedText("recording.error.documentsAccess")), !isRecovered);
    f.flow.reset();
  }
}

TEST(RecordingTranscriptionFlowTest, TheEndOfTheApplicationLosesNothingThatWasSaid) {
  enum class When { starting, recording, finishing, transcribing };
  for (const When when : {When::starting, When::recording, When::finishing, When::transcribing}) {
    SCOPED_TRACE(int(when));
    RecordingFlowFixture f;
    f.vad.takes = 50ms;
    f.transcriber.takes = 1s;
    if (when == When::starting) {
      f.recorders.startTakes = 500ms;
      f.press();
      f.executor.advance(100ms);
    } else {
      f.record();
    }
    if (when == When::finishing) f.recorders.stopTakes = 30ms;
    if (when == When::finishing || when == When::transcribing) {
      f.press();
      f.executor.advance(when == When::finishing ? 20ms : 200ms);
    }
    TaskScope closing(f.executor);
    auto end = closing.spawn(f.flow->shutDown());
    f.executor.advance(600ms);
    EXPECT_TRUE(end.isDone());
    f.press();
    f.settle();
    EXPECT_LE(f.recorders.paths.size(), 1);  // no press counts any more
    EXPECT_TRUE(f.recorders.running.empty());
    EXPECT_EQ(f.powerActivity.held(), 0);
    EXPECT_TRUE(f.persistence->fetchUnfinishedRecordingSessions().empty());
    if (when == When::starting) {
      EXPECT_TRUE(f.rows().empty());
      continue;
    }
    ASSERT_EQ(f.rows().size(), 1u);
    EXPECT_EQ(f.rows().front()->failedReason, localizedText("recording.error.closedBeforeTranscription"));
    EXPECT_TRUE(QFile::exists(*f.rows().front()->audioFilePath));
  }
  RecordingFlowFixture f;  // a file that is never finished is left to the recovery
  f.recorders.stopTakes = 1h;
  f.record();
  TaskScope closing(f.executor);
  auto end = closing.spawn(f.flow->shutDown());
  f.executor.advance(9s);
  EXPECT_FALSE(end.isDone());
  f.executor.advance(2s);
  EXPECT_TRUE(end.isDone());
  EXPECT_EQ(f.persistence->fetchUnfinishedRecordingSessions().size(), 1u);
}

// --- tags

class FakeFileTags final : public SpokenFileTags {
 public:
  std::optional<QString> bundleId;
  bool hasFileIndex() const override { return true; }
  Resolution resolve(const QString& text, const std::optional<QString>& target) override {
    bundleId = target;
    Resolution resolution{QString(text).replace("@{main}", "src/main.cpp"), {}};
    resolution.tags.push_back({"@{main}", "src/main.cpp", "/p/src/main.cpp", std::nullopt});
    resolution.tags.push_back({"@{none}", "@{none}", std::nullopt, std::nullopt});
    return resolution;
  }
  Task<void> refreshFileIndex() override { co_return; }
};

TEST(RecordingTranscriptionFlowTest, SpokenFileNamesAreInThePasteOnlyAndInDeveloperModeOnly) {
  for (const bool isDeveloper : {false, true}) {
    RecordingFlowFixture f;
    FakeFileTags tags;
    f.makeFlow([&tags](auto& use) { use.fileTags = &tags; });
    f.settings.developerMode().setEnableDeveloperMode(isDeveloper);
    f.transcriber.answer = QStringLiteral("Open @{main}.");
    f.dictate();
    EXPECT_EQ(f.onlyRow(), "completed Open @{main}.");
    EXPECT_EQ(f.pastedTexts(), QStringList{isDeveloper ? "Open src/main.cpp. " : "Open @{main}. "});
    EXPECT_EQ(tags.bundleId, isDeveloper ? std::optional<QString>("org.example.Editor") : std::nullopt);
    f.flow.reset();
  }
}

}  // namespace
}  // namespace quillmere
