#include <gtest/gtest.h>

#include "core/RecordingFlowFixture.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

// --- the whole road

TEST(RecordingTranscriptionFlow, CarriesADictationFromThePressToTheCursor) {
  RecordingFlowFixture f;
  f.vad.takes = 30ms;
  f.recorders.firstSample = 12ms;
  f.press();
  EXPECT_FALSE(f.lifecycle.isRecording().get());
  f.executor.runReady();
  EXPECT_TRUE(f.lifecycle.isRecording().get());
  EXPECT_EQ(f.stateLabel(), "recording");
  EXPECT_TRUE(f.state().showRecordingDialog);
  EXPECT_TRUE(f.isCancelShortcutOn());
  EXPECT_EQ(f.powerActivity.held(), 1);
  EXPECT_TRUE(f.flow->currentRecordingAttemptId().has_value());
  EXPECT_EQ(f.flow->previousFrontmostBundleID(), QStringLiteral("org.example.Editor"));
  f.executor.advance(2s);
  ASSERT_TRUE(f.flow->capturedApplicationContext().has_value());
  EXPECT_EQ(f.flow->capturedApplicationContext()->appName, QStringLiteral("Editor"));

  f.press();
  f.executor.advance(100ms);
  EXPECT_EQ(f.stateLabel(), "transcribing");
  EXPECT_EQ(f.rows().front()->status, QStringLiteral("processing"));
  f.settle();

  EXPECT_EQ(f.stateLabel(), "idle");
  EXPECT_EQ(f.onlyRow(), QStringLiteral("completed Hello there."));
  const TranscriptPtr row = f.rows().front();
  EXPECT_EQ(row->mode, QStringLiteral("Letters"));
  EXPECT_EQ(row->transcriptionProvider, QStringLiteral("Scripted"));
  EXPECT_DOUBLE_EQ(*row->duration, 2.0);
  EXPECT_EQ(f.pastedTexts(), QStringList{QStringLiteral("Hello there. ")});  // the space is in the paste only
  EXPECT_FALSE(f.state().showRecordingDialog);
  EXPECT_FALSE(f.isCancelShortcutOn());
  EXPECT_EQ(f.powerActivity.held(), 0);
  EXPECT_FALSE(f.flow->currentRecordingAttemptId().has_value());
  EXPECT_EQ(f.flow->currentRecordingTriggerSource(), RecordingTriggerSource::unknown);
  ASSERT_EQ(f.transcriber.calls.size(), 1u);
  EXPECT_EQ(f.transcriber.calls[0].mode, f.mode);
  EXPECT_TRUE(f.transcriber.calls[0].context.has_value());

  const auto timings = f.flow->lastTimings().get();
  ASSERT_TRUE(timings.has_value());
  EXPECT_EQ(timings->triggerToRecorderRunning, Duration(0));
  EXPECT_EQ(timings->triggerToFirstSample, Duration(12ms));
  EXPECT_EQ(timings->trimming, Duration(30ms));
  EXPECT_EQ(timings->stopToDecoding, Duration(30ms));
  EXPECT_EQ(timings->decoding, Duration(400ms));
  EXPECT_FALSE(timings->postProcessing.has_value());
  ASSERT_TRUE(timings->decodedToPasted.has_value());
  EXPECT_EQ(*timings->stopToText, 430ms + *timings->decodedToPasted);
  EXPECT_TRUE(f.log->contains(QStringLiteral("Stop-to-text: ")));
}

TEST(RecordingTranscriptionFlow, ShowsTheDialogBeforeAndMeasuresEveryStepOfTheStart) {
  RecordingFlowFixture f;
  f.authorization.current = MicrophoneAuthorization::Status::notDetermined;
  f.authorization.questionTakes = 700ms;
  f.recorders.startTakes = 50ms;
  f.press();
  f.executor.runReady();
  EXPECT_TRUE(f.state().showRecordingDialog);
  EXPECT_FALSE(f.lifecycle.isRecording().get());
  f.executor.advance(1s);
  QStringList checkpoints;
  for (const Breadcrumb& each : f.breadcrumbs(QStringLiteral("Recording preflight checkpoint")))
    checkpoints << QStringLiteral("%1 %2/%3")
                       .arg(each.data[QStringLiteral("checkpoint")].toString(),
                            each.data[QStringLiteral("stepMs")].toString(),
                            each.data[QStringLiteral("totalMs")].toString());
  EXPECT_EQ(checkpoints,
            (QStringList{QStringLiteral("recording dialog shown 0/0"), QStringLiteral("microphone permission 700/700"),
                         QStringLiteral("audio engine started 50/750"), QStringLiteral("recording state updated 0/750"),
                         QStringLiteral("critical path complete - recording active 0/750"),
                         QStringLiteral("background validation passed 0/750"),
                         QStringLiteral("context capture complete 0/750")}));
  EXPECT_TRUE(f.log->contains(
      QStringLiteral("⏱️ Recording preflight checkpoint 'audio engine started' · step=0.05s · total=0.75s")));
  EXPECT_EQ(f.flow->lastTimings().get(), std::nullopt);
}

// --- presses that meet

TEST(RecordingTranscriptionFlow, OnlyTheNewestOfTwoQuickPressesActs) {
  RecordingFlowFixture f;
  f.flow->toggleRecording(std::nullopt, true, RecordingTriggerSource::uiButton);
  f.settle();
  EXPECT_FALSE(f.state().showRecordingDialog);  // nothing to be stopped
  f.makeFlow();
  f.press(RecordingTriggerSource::uiButton);
  f.press(RecordingTriggerSource::pushToTalk);
  f.executor.runReady();
  EXPECT_EQ(f.recorders.paths.size(), 1);
  EXPECT_EQ(f.log->count(QStringLiteral("Toggle task cancelled before execution")), 1);
  EXPECT_EQ(f.flow->currentRecordingTriggerSource(), RecordingTriggerSource::pushToTalk);
  ASSERT_EQ(f.breadcrumbs(QStringLiteral("Recording toggle cancelled previous request")).size(), 1u);
  EXPECT_EQ(f.breadcrumbs(QStringLiteral("Recording toggle cancelled previous request"))[0].data,
            (QVariantMap{{QStringLiteral("stopOnly"), false},
                         {QStringLiteral("wasRecording"), false},
                         {QStringLiteral("wasStreamingActive"), false},
                         {QStringLiteral("trigger"), QStringLiteral("push_to_talk")},
                         {QStringLiteral("attemptId"), QStringLiteral("none")}}));
}

TEST(RecordingTranscriptionFlow, APressDuringTheStartStartsAgainAndTheLaterRecorderRuns) {
  for (const bool isAtPermission : {true, false}) {
    SCOPED_TRACE(isAtPermission ? "while the permission is asked for" : "while the recorder starts");
    RecordingFlowFixture f;
    if (isAtPermission) {
      f.authorization.current = MicrophoneAuthorization::Status::notDetermined;
      f.authorization.questionTakes = 700ms;
    } else {
      f.recorders.startTakes = 700ms;
    }
    f.press();
    f.executor.advance(200ms);
    f.press();
    f.executor.advance(6s);
    ASSERT_EQ(f.recorders.paths.size(), 2);
    ASSERT_EQ(f.recorders.running.size(), 1u);
    EXPECT_EQ(f.recorders.stopped, QStringList{f.recorders.paths[0]});
    EXPECT_EQ(f.stateLabel(), "recording");
    EXPECT_TRUE(f.lifecycle.isRecording().get());
    f.press();
    f.settle();
    EXPECT_EQ(f.onlyRow(), QStringLiteral("completed Hello there."));
    EXPECT_EQ(f.files().size(), 1);  // what the first recorder had is too short
  }
}

TEST(RecordingTranscriptionFlow, APressDuringTheTranscriptionRecordsBesideIt) {
  RecordingFlowFixture f;
  f.transcriber.takes = 3s;
  f.record();
  f.press();
  f.executor.advance(100ms);
  f.clock.set(f.clock.now().addSecs(2));
  f.record();  // the first text comes while this runs
  EXPECT_TRUE(f.lifecycle.isRecording().get());
  EXPECT_EQ(f.transcriber.cancels, 0);
  EXPECT_TRUE(f.log->contains(QStringLiteral("Recording will cancel previous transcription in progress")));
  f.executor.advance(2s);
  EXPECT_EQ(f.onlyRow(), QStringLiteral("completed Hello there."));
  EXPECT_TRUE(f.lifecycle.isRecording().get());
  f.press();
  f.settle();
  const auto rows = f.rows();
  ASSERT_EQ(rows.size(), 2u);
  for (const auto& row : rows) EXPECT_EQ(row->status, QStringLiteral("completed"));
  EXPECT_EQ(f.pastedTexts().size(), 2);
}

TEST(RecordingTranscriptionFlow, CancellingTheCallerEndsTheWaitAndNotTheWork) {
  RecordingFlowFixture f;
  TaskScope callers(f.executor);
  f.record();
  auto stopping = callers.spawn(f.flow->stopRecording(QStringLiteral("Letters"), false));
  f.executor.advance(100ms);
  stopping.cancel();
  f.settle();
  EXPECT_TRUE(stopping.isDone());
  EXPECT_EQ(f.onlyRow(), QStringLiteral("completed Hello there."));

  // A start that finds the newest press cancelled does nothing.
  f.record();
  f.press();
  f.executor.advance(100ms);
  f.flow->cancelFromShortcut();
  f.settle();
  runTask(f.executor, f.flow->startRecording(QStringLiteral("Letters")));
  EXPECT_FALSE(f.lifecycle.isRecording().get());
  EXPECT_TRUE(f.log->contains(QStringLiteral("Start recording cancelled due to newer toggle request")));
  EXPECT_EQ(f.breadcrumbs(QStringLiteral("Recording start cancelled by newer toggle")).size(), 1u);
}

// --- the cancel shortcut

TEST(RecordingTranscriptionFlow, CancelThrowsAwayUpToFifteenSecondsAndAsksAbove) {
  struct Case {
    Duration length;
    bool asks;
  };
  for (const Case& each : {Case{14900ms, false}, Case{15s, false}, Case{15100ms, true}}) {
    SCOPED_TRACE(each.length / 1ms);
    RecordingFlowFixture f;
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
      ASSERT_TRUE(f.state().showCancelConfirmation);
      f.press();  // the question goes with the recording it is about
      f.settle();
      EXPECT_FALSE(f.state().showCancelConfirmation);
      EXPECT_EQ(f.onlyRow(), QStringLiteral("completed Hello there."));
      continue;
    }
    EXPECT_EQ(f.stateLabel(), "idle");
    EXPECT_FALSE(f.state().showRecordingDialog);
    EXPECT_TRUE(f.rows().empty());
    EXPECT_TRUE(f.pastedTexts().isEmpty());
    EXPECT_EQ(f.files().size(), 1);  // the audio stays in the folder
    EXPECT_EQ(f.powerActivity.held(), 0);
    EXPECT_FALSE(f.shortcuts.release(shortcutNames::cancelRecording));
    EXPECT_TRUE(f.log->contains(QStringLiteral("❌ Recording cancelled - stopped transcription")));
  }
}

TEST(RecordingTranscriptionFlow, CancelDuringTheTranscriptionShowsNoError) {
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
    EXPECT_EQ(f.rows().front()->status, QStringLiteral("processing"));  // the row stays as it is
    EXPECT_TRUE(f.toasts().isEmpty());
    EXPECT_TRUE(f.state().lastTranscription.isEmpty());
    EXPECT_TRUE(f.pastedTexts().isEmpty());
    EXPECT_EQ(f.powerActivity.held(), 0);
    EXPECT_TRUE(f.log->contains(QStringLiteral("❌ Transcription cancelled (no error shown)")));
  }
}

// --- every moment

// A press or a cancel at every point where a task of a dictation waits: whatever happens, the recorder can be stopped,
// nothing stays switched on and every recording is in a file.
TEST(RecordingTranscriptionFlow, SurvivesAPressOrACancelAtEveryMoment) {
  enum class Event { press, cancel, stopOnly };
  constexpr int startTurns = 36;  // more than a start takes
  constexpr int stopTurns = 72;   // more than it takes from the stop to the end of the paste
  for (const Event event : {Event::press, Event::cancel, Event::stopOnly}) {
    for (int moment = 0;; ++moment) {
      RecordingFlowFixture f;
      SCOPED_TRACE(QStringLiteral("event %1 at moment %2").arg(int(event)).arg(moment).toStdString());
      f.authorization.current = MicrophoneAuthorization::Status::notDetermined;
      f.authorization.questionTakes = 10ms;
      f.recorders.startTakes = 10ms;
      f.recorders.stopTakes = 10ms;
      f.vad.takes = 10ms;
      f.transcriber.takes = 10ms;
      f.transcriber.rewriteTakes = 10ms;
      int steps = 0;
      const auto run = [&](int limit) {  // turns of the executor, or of the clock where nothing is queued
        for (int i = 0; i < limit && steps < moment; ++i, ++steps)
          if (!f.executor.runOne()) f.executor.advance(5ms);
      };
      f.press();
      run(startTurns);
      if (moment > startTurns) {
        f.executor.advance(2s);
        f.press();
        run(stopTurns);
      }
      const bool isLast = steps < moment;
      switch (event) {
        case Event::press:
          f.press();
          break;
        case Event::cancel:
          f.flow->cancelFromShortcut();
          break;
        case Event::stopOnly:
          f.flow->toggleRecording(std::nullopt, true, RecordingTriggerSource::uiButton);
          break;
      }
      f.executor.advance(3s);
      f.clock.set(f.clock.now().addSecs(5));
      if (f.lifecycle.isRecording().get()) {
        f.press();
        f.executor.advance(3s);
      }
      f.executor.advance(12s);
      EXPECT_FALSE(f.lifecycle.isRecording().get());
      EXPECT_TRUE(f.recorders.running.empty());
      EXPECT_EQ(f.stateLabel(), "idle");
      EXPECT_EQ(f.powerActivity.held(), 0);
      EXPECT_FALSE(f.isCancelShortcutOn());
      EXPECT_FALSE(f.flow->currentRecordingAttemptId().has_value());
      EXPECT_LE(f.files().size() + f.log->count(QStringLiteral(" - discarding")), f.recorders.paths.size());
      EXPECT_EQ(f.files().filter(QStringLiteral(".incomplete_")), QStringList());
      EXPECT_TRUE(f.reporting.reports.empty());
      if (::testing::Test::HasFailure() || isLast) break;
    }
  }
}

}  // namespace
}  // namespace quillmere
