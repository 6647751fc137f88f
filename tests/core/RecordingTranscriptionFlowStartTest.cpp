#include <gtest/gtest.h>

#include "base/text/LocalizedText.h"
#include "core/RecordingFlowFixture.h"
#include "core/RecordingStartSnapshot.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

void useCloud(RecordingFlowFixture& f, std::optional<qint16> postProcessing = std::nullopt) {
  f.mode->model = QStringLiteral("cloud");
  f.mode->cloudProvider = QStringLiteral("deepgram");
  f.mode->postProcessingMode = postProcessing;
  f.mode->postProcessingProvider = QStringLiteral("anthropic");
}

void expectIdle(RecordingFlowFixture& f) {
  EXPECT_FALSE(f.lifecycle.isRecording().get());
  EXPECT_EQ(f.stateLabel(), "idle");
  EXPECT_FALSE(f.state().showRecordingDialog);
  EXPECT_FALSE(f.state().isStreamingShortcutTriggered);
  EXPECT_EQ(f.powerActivity.held(), 0);
  EXPECT_FALSE(f.isCancelShortcutOn());
  EXPECT_FALSE(f.flow->currentRecordingAttemptId().has_value());
  EXPECT_EQ(f.flow->currentRecordingTriggerSource(), RecordingTriggerSource::unknown);
  EXPECT_TRUE(f.rows().empty());
}

// --- what is looked at behind the running recorder

TEST(RecordingValidation, EndsTheRecordingWhereTheSpeechEngineCannotWork) {
  struct Case {
    const char* name;
    bool isOnline;
    std::optional<qint16> postProcessing;
    const char* toast;
    size_t missing;
  };
  for (const Case& each : {Case{"no key", true, std::nullopt, "Missing API keys", 1},
                           Case{"neither key", true, qint16(1), "Missing API keys", 2},
                           Case{"offline", false, qint16(1), "Cannot use cloud transcription while offline", 1}}) {
    SCOPED_TRACE(each.name);
    RecordingFlowFixture f;
    useCloud(f, each.postProcessing);
    f.network.online = each.isOnline;
    f.press();
    f.settle();
    expectIdle(f);
    EXPECT_EQ(f.toasts(), QStringList{QString::fromLatin1(each.toast)});
    EXPECT_TRUE(f.state().showAPIKeyAlert);
    EXPECT_EQ(f.state().missingAPIKeys.size(), each.missing);
    EXPECT_FALSE(f.state().postProcessingKeyMissing);
    EXPECT_TRUE(f.files().isEmpty()) << "it was too short";
    EXPECT_FALSE(f.flow->capturedApplicationContext().has_value());
  }
}

TEST(RecordingValidation, AMissingKeyOfTheRewriteOnlyIsNoReasonToStop) {
  RecordingFlowFixture f;
  useCloud(f, qint16(1));
  f.keys.keys.insert(QStringLiteral("deepgram"), QStringLiteral("key"));
  f.record();
  EXPECT_TRUE(f.lifecycle.isRecording().get());
  EXPECT_TRUE(f.state().postProcessingKeyMissing);
  EXPECT_EQ(f.state().missingAPIKeys.size(), 1u);
  EXPECT_FALSE(f.state().showAPIKeyAlert);
  EXPECT_TRUE(f.toasts().isEmpty());
  f.press();
  f.settle();
  EXPECT_EQ(f.onlyRow(), QStringLiteral("completed Hello there."));

  f.keys.keys.insert(QStringLiteral("anthropic"), QStringLiteral("key"));
  f.dictate();
  EXPECT_FALSE(f.state().postProcessingKeyMissing);
  EXPECT_TRUE(f.state().missingAPIKeys.empty());
}

TEST(RecordingValidation, AModeThatIsGoneEndsTheRecording) {
  RecordingFlowFixture f;
  f.appState.update([](AppStateData& data) { data.selectedModeId = QStringLiteral("no mode has this"); });
  f.press();
  f.settle();
  expectIdle(f);
  EXPECT_EQ(f.toasts(), QStringList{localizedText("recording.error.modeMissing")});
  EXPECT_EQ(f.recorders.paths.size(), 1);  // it ran, and was looked at afterwards
}

// Every folder that recordings could go to is taken away while the recorder runs.
struct LostStorage : RecordingFlowFixture {
  LostStorage() {
    recorders.bytesAtStop.reset();
    losing = lifecycle.isRecording().observe([this](const bool& isRecording) {
      if (!isRecording || isLost) return;
      isLost = true;
      QDir(settings.storage().recordingsFolder()).removeRecursively();
      for (const QString& path : {settings.storage().recordingsFolder(), folders.downloads, folders.temporary,
                                  folders.documents, folders.applicationSupport}) {
        QDir(path).removeRecursively();
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly)) std::abort();
      }
    });
  }
  bool isLost = false;
  Subscription losing;
};

TEST(RecordingValidation, StorageThatStaysUnusableEndsTheRecording) {
  LostStorage f;
  f.press();
  f.executor.advance(119s);
  EXPECT_TRUE(f.lifecycle.isRecording().get());
  f.flow->cancelFromShortcut();
  EXPECT_TRUE(f.state().showCancelConfirmation);
  f.executor.advance(10s);
  expectIdle(f);
  EXPECT_FALSE(f.state().showCancelConfirmation);  // it goes with the recording it is about
  EXPECT_EQ(f.toasts(), QStringList{localizedText("recording.error.documentsAccess")});

  LostStorage recovered;
  recovered.recoversFolder = true;
  recovered.record(130s);
  EXPECT_TRUE(recovered.lifecycle.isRecording().get());
  EXPECT_TRUE(recovered.toasts().isEmpty());
}

TEST(RecordingValidation, AFailureThatComesAfterTheStopChangesNothing) {
  LostStorage f;
  f.record(5s);
  f.press();
  f.executor.advance(130s);
  EXPECT_EQ(f.stateLabel(), "idle");
  EXPECT_FALSE(f.toasts().contains(localizedText("recording.error.documentsAccess")));
  EXPECT_TRUE(f.log->contains(
      QStringLiteral("Background validation failed but state is idle - skipping cancel (recording already stopped)")));
}

TEST(RecordingValidation, ARecordingThatWasStoppedBeforeCapturesNoContext) {
  RecordingFlowFixture f;
  f.dictate();
  ASSERT_TRUE(f.flow->capturedApplicationContext().has_value());
  f.workspace.frontmost = RunningApplication{43, QStringLiteral("org.example.Mail"), QStringLiteral("Mail"), {}, false};
  // The stop comes in the very turn in which the recorder runs.
  Subscription stopping = f.lifecycle.isRecording().observe([&](const bool& isRecording) {
    if (isRecording) f.press();
  });
  f.clock.set(f.clock.now().addSecs(5));
  f.press();
  f.settle();
  EXPECT_TRUE(f.log->contains(QStringLiteral("Recording already stopped - skipping context capture")));
  EXPECT_EQ(f.flow->capturedApplicationContext()->appName, QStringLiteral("Editor"));
}

// --- starts that fail

TEST(RecordingStart, ARefusedMicrophoneShowsItsOwnAlert) {
  RecordingFlowFixture f;
  f.authorization.current = MicrophoneAuthorization::Status::denied;
  f.authorization.grants = false;
  f.press();
  f.settle();
  EXPECT_FALSE(f.state().showRecordingDialog);
  EXPECT_TRUE(f.permission.showPermissionDeniedAlert().get());
  EXPECT_TRUE(f.recorders.paths.isEmpty());
  EXPECT_EQ(f.powerActivity.held(), 0);
  EXPECT_TRUE(f.toasts().isEmpty());
  EXPECT_TRUE(f.flow->currentRecordingAttemptId().has_value());  // until the next start
}

TEST(RecordingStart, ARecorderThatDoesNotStartIsReportedAndCleanedUp) {
  RecordingFlowFixture f;
  f.dictate();
  const QStringList before = f.files();
  f.recorders.recordError = PlatformError{QStringLiteral("audio"), 5, QStringLiteral("The sound server refused.")};
  f.clock.set(f.clock.now().addSecs(5));
  f.press();
  f.settle();
  EXPECT_EQ(f.files(), before);  // the recording before is not the one that is removed
  EXPECT_EQ(f.persistence->fetchAllRecordingSessions().size(), 1u);
  EXPECT_EQ(f.stateLabel(), "idle");
  EXPECT_FALSE(f.state().showRecordingDialog);
  EXPECT_EQ(f.powerActivity.held(), 0);
  EXPECT_FALSE(f.flow->capturedApplicationContext().has_value());
  ASSERT_EQ(f.toasts().size(), 1);
  EXPECT_TRUE(f.log->contains(QStringLiteral("🧹 Cleaned up failed recording attempt")));
  ASSERT_EQ(f.reporting.reports.size(), 1u);
  const ReportOptions& options = f.reporting.reports[0].options;
  EXPECT_EQ(options.message, QStringLiteral("Failed to start recording"));
  EXPECT_EQ(options.extra.size(), 34);
  EXPECT_EQ(options.extra[QStringLiteral("recordingFailureStage")], QStringLiteral("recorder_init_failed"));
  EXPECT_EQ(options.extra[QStringLiteral("recordingsFolderWritable")], true);
  EXPECT_EQ(options.extra[QStringLiteral("activeDeviceIsDefault")], true);
  EXPECT_EQ(options.extra[QStringLiteral("availableInputDevices")].toStringList(),
            QStringList{QStringLiteral("Desk microphone (usb)")});
  EXPECT_EQ(options.extra[QStringLiteral("selectedDeviceTransportType")], QStringLiteral("unknown"));

  f.recorders.recordError.reset();
  f.dictate();
  EXPECT_EQ(f.rows().size(), 2u);
}

TEST(RecordingStart, TheReportTellsTheStageAndListsTwentyDevices) {
  using Kind = AudioError::Kind;
  const std::pair<std::optional<AnyError>, const char*> stages[] = {
      {std::nullopt, "cancelled"},
      {AudioError{Kind::noPermission, {}}, "audio_error"},
      {AudioError{Kind::recordingFailed, QStringLiteral("Failed to start recording")}, "record_start_failed"},
      {AudioError{Kind::recordingFailed, QStringLiteral("something else")}, "recorder_init_failed"},
      {PlatformError{}, "unknown"}};
  for (const auto& [error, stage] : stages) EXPECT_EQ(RecordingStartSnapshot::failureStage(error), stage);
  RecordingStartSnapshot snapshot;
  snapshot.availableInputs.resize(25, {QStringLiteral("M"), QStringLiteral("pci")});
  EXPECT_EQ(snapshot.data()[QStringLiteral("availableInputDeviceCount")], 25);
  EXPECT_EQ(snapshot.data()[QStringLiteral("availableInputDevices")].toStringList(),
            QStringList(20, QStringLiteral("M (pci)")));
}

TEST(RecordingStart, LiveDictationSaysThatItIsNotThereYet) {
  RecordingFlowFixture f;
  f.appState.update([](AppStateData& data) { data.isStreamingShortcutTriggered = true; });
  f.press(RecordingTriggerSource::streamingShortcut);
  f.settle();
  expectIdle(f);
  EXPECT_EQ(f.toasts(), QStringList{localizedText("recording.error.streamingUnavailable")});
  EXPECT_TRUE(f.recorders.paths.isEmpty());
  EXPECT_FALSE(f.flow->isStreamingActive());
  f.record();  // an ordinary one works, and the refusal leaves its transcription alone
  f.press();
  f.executor.advance(100ms);
  f.appState.update([](AppStateData& data) { data.isStreamingShortcutTriggered = true; });
  f.press(RecordingTriggerSource::streamingShortcut);
  f.executor.runReady();
  EXPECT_EQ(f.stateLabel(), "transcribing");
  f.settle();
  EXPECT_EQ(f.onlyRow(), QStringLiteral("completed Hello there."));
}

}  // namespace
}  // namespace quillmere
