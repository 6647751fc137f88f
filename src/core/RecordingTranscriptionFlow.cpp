#include "core/RecordingTranscriptionFlow.h"

#include "base/async/Async.h"
#include "base/text/LocalizedText.h"
#include "core/AppState.h"
#include "core/ShortcutNames.h"
#include "delivery/AccessibilityHelper.h"
#include "ports/ErrorReporting.h"
#include "ports/GlobalShortcuts.h"
#include "recording/PowerActivityManager.h"
#include "recording/RecordingLifecycle.h"
#include "recording/RecordingSessionManager.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "transcripts/TranscriptRow.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr double askBeforeCancelSeconds = 15.0;
constexpr auto shutDownLimit = 10s;  // for a stop that is under way; behind it the recovery takes over

// Tells the waiting side also when the frame goes without having run to its end.
class EndSignal {
 public:
  explicit EndSignal(Completion<> end) : end_(std::move(end)) {}
  EndSignal(const EndSignal&) = delete;
  EndSignal& operator=(const EndSignal&) = delete;
  ~EndSignal() { end_.resolve(); }

 private:
  Completion<> end_;
};

Task<void> runAndTell(Task<void> work, Completion<> end) {
  const EndSignal signal(std::move(end));
  co_await std::move(work);
}

}  // namespace

RecordingTranscriptionFlow::RecordingTranscriptionFlow(RecordingTranscriptionFlowServices services,
                                                       const Logging& logging)
    : use_(std::move(services)),
      logger_(logging.logger(QStringLiteral("RecordingTranscriptionFlow"))),
      scope_(use_.executor) {
  use_.recordingLifecycle.setOnInterrupted([this](const AudioRecorder::Interruption&) { onInterrupted(); });
  use_.sessionManager.setTracksUntilSettled(true);
}

RecordingTranscriptionFlow::~RecordingTranscriptionFlow() {
  use_.recordingLifecycle.setOnInterrupted(nullptr);
  if (hasRegisteredCancelShortcut_) use_.globalShortcuts->setHandlers(shortcutNames::cancelRecording, {});
}

// --- presses

void RecordingTranscriptionFlow::toggleRecording(std::optional<QString> modeName, bool stopOnly,
                                                 RecordingTriggerSource trigger) {
  if (isShutDown_) return;
  if (toggleTask_) {
    leaveBreadcrumb(QStringLiteral("Recording toggle cancelled previous request"), QStringLiteral("audio.toggle"),
                    ReportLevel::info,
                    {{QStringLiteral("stopOnly"), stopOnly},
                     {QStringLiteral("wasRecording"), isRecording()},
                     {QStringLiteral("wasStreamingActive"), isStreamingActive()},
                     {QStringLiteral("trigger"), rawValue(trigger)},
                     {QStringLiteral("attemptId"), attemptText()}});
    currentRecordingTriggerSource_ = trigger;
    toggleTask_->cancel.cancel();
  } else {
    currentRecordingTriggerSource_ = trigger;
  }
  toggleTask_ = std::make_shared<Toggle>();
  toggleTask_->pressedAt = use_.executor.now();
  scope_.spawn(runToggle(toggleTask_, std::move(modeName), stopOnly));
}

Task<void> RecordingTranscriptionFlow::runToggle(std::shared_ptr<Toggle> toggle, std::optional<QString> modeName,
                                                 bool stopOnly) {
  if (toggle->cancel.isCancelled()) {
    logger_.info("Toggle task cancelled before execution");
    co_return;
  }
  const QString mode = modeName ? *modeName : selectedModeName(QStringLiteral("Default"));
  if (isRecording() || isStreamingActive()) {
    if (toggle->cancel.isCancelled()) {
      logger_.info("Toggle task cancelled before stop operation");
      co_return;
    }
    auto stopping = stop(mode, stopOnly, toggle->cancel.token(), toggle->pressedAt);
    co_await std::move(stopping);
    co_return;
  }
  if (stopOnly) co_return;  // there is nothing to stop
  if (toggle->cancel.isCancelled()) {
    logger_.info("Toggle task cancelled before start operation");
    co_return;
  }
  auto starting = start(mode, toggle->pressedAt);
  co_await std::move(starting);
}

void RecordingTranscriptionFlow::cancelFromShortcut() {
  if (use_.appState == nullptr) return;
  const AppStateData& state = use_.appState->data();
  if (state.showCancelConfirmation) {
    updateState([](AppStateData& data) { data.showCancelConfirmation = false; });
    logger_.info("↩️ Dismissed cancel confirmation, continuing recording");
    return;
  }
  if (state.recordingState.is<RecordingState::Transcribing>() ||
      state.recordingState.is<RecordingState::PostProcessing>()) {
    logger_.info("❌ Cancelled transcription/processing via shortcut");
    transcription_.cancel();
    if (toggleTask_) toggleTask_->cancel.cancel();
    updateState([](AppStateData& data) {
      data.lastTranscription.clear();
      data.recordingState = {RecordingState::Idle{}};
      data.showRecordingDialog = false;
      data.isStreamingShortcutTriggered = false;
    });
    disableCancelShortcut();
    return;
  }
  if (use_.recordingLifecycle.recordingDuration().get() > askBeforeCancelSeconds) {
    updateState([](AppStateData& data) { data.showCancelConfirmation = true; });
    return;
  }
  toggleRecording(std::nullopt, true, RecordingTriggerSource::cancelShortcut);
  updateState([](AppStateData& data) {
    data.showRecordingDialog = false;
    data.isStreamingShortcutTriggered = false;
  });
  logger_.info("❌ Cancelled recording via shortcut");
}

// --- what callers await

Task<void> RecordingTranscriptionFlow::startRecording(QString modeName) {
  return runToItsEnd(start(std::move(modeName), use_.executor.now()));
}

Task<void> RecordingTranscriptionFlow::stopRecording(QString modeName, bool cancelled) {
  return runToItsEnd(stop(std::move(modeName), cancelled, CancelToken(), use_.executor.now()));
}

Task<void> RecordingTranscriptionFlow::retryPendingTranscription() {
  return runToItsEnd(retry());
}

Task<void> RecordingTranscriptionFlow::shutDown() {
  return runToItsEnd(finishEverything());
}

Task<void> RecordingTranscriptionFlow::runToItsEnd(Task<void> work) {
  Completion<> end;
  scope_.spawn(runAndTell(std::move(work), end));
  auto waiting = end.wait();
  co_await std::move(waiting);
}

// --- ends that nobody asked for

void RecordingTranscriptionFlow::onInterrupted() {
  scope_.spawn(finishInterruptedRecording());
}

Task<void> RecordingTranscriptionFlow::finishInterruptedRecording() {
  if (!isRecording() || isShutDown_) co_return;  // a press came first; its stop tells the user
  currentRecordingTriggerSource_ = RecordingTriggerSource::autoStop;
  auto stopping = stop(selectedModeName(QStringLiteral("Default")), false, CancelToken(), use_.executor.now());
  co_await std::move(stopping);
}

Task<void> RecordingTranscriptionFlow::finishEverything() {
  isShutDown_ = true;
  if (isRecording()) scope_.spawn(keepUntranscribed(std::make_shared<StopUnderWay>(*this)));
  // A stop that is under way gives its audio a transcript before it begins to transcribe.
  if (stopsUnderWay_ > 0) {
    Completion<> noneLeft;
    noStopsLeft_.push_back(noneLeft);
    auto waiting = withTimeout(shutDownLimit, noneLeft.wait());
    co_await std::move(waiting);
  }
  const auto unfinished = unfinished_;
  transcription_.cancel();
  for (const TranscriptPtr& transcript : unfinished) keepAsClosed(transcript);
  use_.powerActivityManager.end();
}

Task<void> RecordingTranscriptionFlow::keepUntranscribed(std::shared_ptr<StopUnderWay>) {
  const QString mode = selectedModeName(QStringLiteral("Default"));
  auto stopping = use_.recordingLifecycle.stopRecording();
  const auto result = co_await std::move(stopping);
  if (result && result->path && result->duration >= minimumDurationSeconds)
    keepAsClosed(use_.sessionManager.createTranscript(result->session, result->duration, mode, *result->path));
  else if (result)
    use_.sessionManager.settleSession(result->session);
  setRecordingState({RecordingState::Idle{}});
  disableCancelShortcut();
}

void RecordingTranscriptionFlow::keepAsClosed(const TranscriptPtr& transcript) {
  const QString reason = localizedText("recording.error.closedBeforeTranscription");
  keepFailedTranscript(transcript, reason, failedTranscriptText(reason));
}

// --- what all parts share

void RecordingTranscriptionFlow::updateState(const std::function<void(AppStateData&)>& change) {
  if (use_.appState != nullptr) use_.appState->update(change);
}

void RecordingTranscriptionFlow::setRecordingState(RecordingState state) {
  updateState([&state](AppStateData& data) { data.recordingState = state; });
}

void RecordingTranscriptionFlow::endClipboardSession() {
  if (!isRecording()) use_.accessibilityHelper.endRecordingSession();
}

QString RecordingTranscriptionFlow::selectedModeName(const QString& otherwise) const {
  return use_.appState != nullptr ? use_.appState->data().selectedModeName : otherwise;
}

ModePtr RecordingTranscriptionFlow::modeNamed(const QString& name) {
  for (ModePtr& mode : use_.persistence.fetchAllModes())
    if (mode->name == name) return std::move(mode);
  return use_.persistence.fetchDefaultMode();
}

QString RecordingTranscriptionFlow::recordingsFolder() const {
  if (use_.settingsManager == nullptr) return {};
  const QString folder = use_.settingsManager->storage().recordingsFolder();
  if (!folder.isEmpty()) return folder;
  return use_.settingsManager->folders().documents + QStringLiteral("/Recordings");
}

bool RecordingTranscriptionFlow::isRecording() const {
  return use_.recordingLifecycle.isRecording().get();
}

void RecordingTranscriptionFlow::clearAttempt() {
  currentRecordingAttemptId_.reset();
  currentRecordingTriggerSource_ = RecordingTriggerSource::unknown;
}

void RecordingTranscriptionFlow::enableCancelShortcut() {
  if (use_.globalShortcuts == nullptr) return;
  if (!hasRegisteredCancelShortcut_) {
    GlobalShortcuts::Handlers handlers;
    handlers.onKeyUp = [this] { cancelFromShortcut(); };
    use_.globalShortcuts->setHandlers(shortcutNames::cancelRecording, std::move(handlers));
    hasRegisteredCancelShortcut_ = true;
  }
  use_.globalShortcuts->setEnabled(shortcutNames::cancelRecording, true);
}

void RecordingTranscriptionFlow::disableCancelShortcut() {
  if (use_.globalShortcuts != nullptr) use_.globalShortcuts->setEnabled(shortcutNames::cancelRecording, false);
}

QString RecordingTranscriptionFlow::attemptText() const {
  return currentRecordingAttemptId_.value_or(QStringLiteral("none"));
}

void RecordingTranscriptionFlow::leaveBreadcrumb(const QString& message, const QString& category, ReportLevel level,
                                                 const QVariantMap& data) {
  if (use_.errorReporting == nullptr || !use_.errorReporting->isEnabled()) return;
  use_.errorReporting->addBreadcrumb({message, category, level, data});
}

}  // namespace quillmere
