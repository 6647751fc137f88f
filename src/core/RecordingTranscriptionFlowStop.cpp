// From the stop of a recording to the text that was spoken.
#include <QFile>
#include <QFileInfo>

#include "audio/VADProcessing.h"
#include "base/async/Async.h"
#include "base/text/LocalizedText.h"
#include "context/SelectedTextService.h"
#include "core/AppState.h"
#include "core/InterruptionNotice.h"
#include "core/RecordingTranscriptionFlow.h"
#include "ports/ErrorReporting.h"
#include "providers/Transcriber.h"
#include "recording/FileWatcher.h"
#include "recording/PowerActivityManager.h"
#include "recording/RecordingLifecycle.h"
#include "recording/RecordingSessionManager.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr auto firstWriteLimit = 3s;
constexpr int readableChecks = 5;
constexpr auto readablePause = 100ms;
constexpr int fallbackChecks = 20;
constexpr auto fallbackPause = 150ms;
constexpr double veryShortSeconds = 0.5;

bool isReadableFile(const QString& path) {
  const QFileInfo file(path);
  return file.isFile() && file.isReadable();
}

// -1 when it can't be read.
qint64 sizeOf(const QString& path) {
  const QFileInfo file(path);
  return file.exists() ? file.size() : -1;
}

// False when the press was cancelled before the time had passed.
Task<bool> sleepUnlessCancelled(Duration duration, CancelToken press) {
  if (press.isCancelled()) co_return false;
  Completion<> cancelled;
  const Subscription listening = press.onCancel([cancelled]() mutable { cancelled.resolve(); });
  auto sleeping = withTimeout(duration, cancelled.wait());
  const bool wasCancelled = co_await std::move(sleeping);
  co_return !wasCancelled;
}

}  // namespace

Task<void> RecordingTranscriptionFlow::stop(QString modeName, bool cancelled, CancelToken press, TimePoint pressedAt) {
  leaveBreadcrumb(QStringLiteral("Recording stop requested"), QStringLiteral("audio.recording"), ReportLevel::info,
                  {{QStringLiteral("mode"), modeName},
                   {QStringLiteral("cancelled"), cancelled},
                   {QStringLiteral("isStreamingActive"), isStreamingActive()},
                   {QStringLiteral("trigger"), rawValue(currentRecordingTriggerSource_)},
                   {QStringLiteral("attemptId"), attemptText()}});
  StopUnderWay underWay(*this);
  // The question whether to cancel is about the recording that ends here.
  updateState([](AppStateData& data) { data.showCancelConfirmation = false; });
  if (cancelled && isRecording()) use_.sessionManager.discardSession(use_.sessionManager.currentRecordingSession());
  const Started started = std::exchange(started_, Started{});
  auto stopping = use_.recordingLifecycle.stopRecording();
  const auto result = co_await std::move(stopping);
  if (!result || !result->path) {
    setRecordingState({RecordingState::Idle{}});
    disableCancelShortcut();
    if (result && !cancelled && use_.appState != nullptr)
      use_.appState->showNotice(localizedDescription(AudioError{AudioError::Kind::fileNotReadable, QString()}));
    use_.powerActivityManager.end();
    clearAttempt();
    co_return;
  }

  const auto dictation = std::make_shared<Dictation>();
  dictation->audioPath = *result->path;
  dictation->durationSeconds = result->duration;
  dictation->modeName = modeName;
  dictation->session = result->session;
  dictation->stoppedAt = pressedAt;
  dictation->timings = started.timings;
  if (result->firstSampleAt && started.pressedAt)
    dictation->timings.triggerToFirstSample = *result->firstSampleAt - *started.pressedAt;
  const QString& path = dictation->audioPath;
  const qint64 fileSizeBytes = sizeOf(path);
  const bool isTooSmall = fileSizeBytes >= 0 && fileSizeBytes < minimumFileSizeBytes;
  if (result->duration < minimumDurationSeconds || isTooSmall) {
    discard(*dictation, fileSizeBytes, result->interruption);
    co_return;
  }
  if (result->conversionWarning) {
    logger_.warning("Audio compression failed: %{public}s - attempting transcription anyway",
                    *result->conversionWarning);
    if (use_.appState != nullptr) use_.appState->showNotice(*result->conversionWarning);
  }

  auto waiting = waitUntilReadable(path, press);
  const FileWait wait = co_await std::move(waiting);
  if (!wait.isReadable) {
    if (wait.watcherError)
      failWatching(*dictation, *wait.watcherError);
    else
      failUnreadable(*dictation);
    co_return;
  }
  dictation->timings.stopToFileReady = use_.executor.now() - pressedAt;
  if (cancelled) {
    use_.sessionManager.settleSession(result->session);
    endCancelled();
    co_return;
  }
  if (result->interruption && use_.appState != nullptr)
    use_.appState->showNotice(interruptionNotice(result->interruption->kind, result->duration));

  VADProcessingResult prepared;
  prepared.finalAudioPath = path;
  prepared.originalAudioPath = path;
  if (use_.vadProcessingService != nullptr) {
    const bool isEnabled = use_.settingsManager != nullptr && use_.settingsManager->general().enableVAD();
    const TimePoint begin = use_.executor.now();
    auto trimming = use_.vadProcessingService->process(path, result->duration, isEnabled, QStringLiteral("Recording"));
    prepared = co_await std::move(trimming);
    dictation->timings.trimming = use_.executor.now() - begin;
  }

  const QString transcriptMode = selectedModeName(modeName);
  dictation->modeName = transcriptMode;
  dictation->transcript = use_.sessionManager.createTranscript(result->session, result->duration, transcriptMode, path);
  logger_.info("💾 Created processing transcript: duration=%fs, mode=%s", result->duration, transcriptMode);
  if (prepared.wasProcessed && prepared.trimResult) {
    use_.persistence.setTrimmedAudioPath(dictation->transcript, prepared.finalAudioPath);
    logger_.info("📝 Saved trimmed audio path to transcript: %{public}s", prepared.finalAudioPath);
  }
  setRecordingState({RecordingState::Transcribing{}});
  unfinished_.push_back(dictation->transcript);
  underWay.end();

  auto transcribing = transcribe(dictation, prepared.finalAudioPath);
  co_await std::move(transcribing);
  std::erase(unfinished_, dictation->transcript);
  clearAttempt();
}

RecordingTranscriptionFlow::StopUnderWay::StopUnderWay(RecordingTranscriptionFlow& flow) : flow_(&flow) {
  ++flow.stopsUnderWay_;
}

void RecordingTranscriptionFlow::StopUnderWay::end() {
  RecordingTranscriptionFlow* flow = std::exchange(flow_, nullptr);
  if (flow == nullptr || --flow->stopsUnderWay_ > 0) return;
  for (Completion<>& waiting : std::exchange(flow->noStopsLeft_, {})) waiting.resolve();
}

Task<RecordingTranscriptionFlow::FileWait> RecordingTranscriptionFlow::waitUntilReadable(QString path,
                                                                                         CancelToken press) {
  FileWait outcome;
  logger_.info("Waiting for audio file to become ready...");
  auto waiting = use_.fileWatcher.waitForFirstWrite(path, firstWriteLimit);
  const auto written = co_await std::move(waiting);
  if (written) {
    logger_.info("Initial write event received. Starting readability check...");
    bool wasCancelled = false;
    for (int attempt = 1; attempt <= readableChecks && !wasCancelled; ++attempt) {
      if (isReadableFile(path)) {
        logger_.info("File is readable on attempt #%ld.", attempt);
        outcome.isReadable = true;
        co_return outcome;
      }
      logger_.info("Readability check attempt #%ld failed. Retrying in 100ms...", attempt);
      if (attempt == readableChecks) break;
      auto pausing = sleepUnlessCancelled(readablePause, press);
      wasCancelled = !co_await std::move(pausing);
    }
    if (!wasCancelled) co_return outcome;
    outcome.watcherError = AnyError(AudioError{AudioError::Kind::fileNotReadable, QString()});
  } else {
    outcome.watcherError = AnyError(written.error());
  }

  logger_.error("Failed to wait for audio file: %s", localizedDescription(*outcome.watcherError));
  for (int attempt = 1; attempt <= fallbackChecks; ++attempt) {
    if (isReadableFile(path)) {
      logger_.info("File watcher failed but file is readable (attempt #%ld) – continuing to transcription", attempt);
      outcome.isReadable = true;
      co_return outcome;
    }
    if (attempt == fallbackChecks) break;
    auto pausing = sleepFor(fallbackPause);
    co_await std::move(pausing);
  }
  co_return outcome;
}

void RecordingTranscriptionFlow::discard(const Dictation& dictation, qint64 fileSizeBytes,
                                         const std::optional<AudioRecorder::Interruption>& interruption) {
  const double duration = dictation.durationSeconds;
  logger_.info("⏱️ Recording too short (%ss, %lld bytes) - discarding", QString::number(duration, 'f', 2),
               fileSizeBytes);
  leaveBreadcrumb(QStringLiteral("Recording discarded - too short"), QStringLiteral("audio.recording"),
                  ReportLevel::info,
                  {{QStringLiteral("recordingDurationMs"), qint64(duration * 1000)},
                   {QStringLiteral("minimumDurationMs"), qint64(minimumDurationSeconds * 1000)},
                   {QStringLiteral("minimumFileSizeBytes"), minimumFileSizeBytes},
                   {QStringLiteral("fileSizeBytes"), fileSizeBytes},
                   {QStringLiteral("discardedBy"),
                    duration < minimumDurationSeconds ? QStringLiteral("duration") : QStringLiteral("file_size")},
                   {QStringLiteral("mode"), dictation.modeName}});
  if (QFile file(dictation.audioPath); file.exists() && !file.remove())
    logger_.warning("The recording could not be deleted: %{public}s", file.errorString());
  if (dictation.session) use_.persistence.deleteRecordingSession(dictation.session);
  updateState([](AppStateData& data) {
    data.recordingState = {RecordingState::Idle{}};
    data.isStreamingShortcutTriggered = false;
  });
  disableCancelShortcut();
  if (use_.appState != nullptr) {
    if (interruption)
      use_.appState->showNotice(interruptionNotice(interruption->kind, std::nullopt));
    else
      use_.appState->showNotice(localizedDescription(AudioError{AudioError::Kind::recordingTooShort, QString()}));
  }
  use_.powerActivityManager.end();
  use_.selectedTextService.forget();
  clearAttempt();
}

void RecordingTranscriptionFlow::failUnreadable(const Dictation& dictation) {
  const QString reason = QStringLiteral("Audio file could not be read");
  const QString text = QStringLiteral("Error: ") + reason;
  logger_.error("❌ Audio file not readable after waiting: %{public}s", dictation.audioPath);
  leaveBreadcrumb(QStringLiteral("Audio file not readable after waiting."), QStringLiteral("audio.recording"),
                  ReportLevel::error,
                  {{QStringLiteral("audioPath"), dictation.audioPath},
                   {QStringLiteral("mode"), dictation.modeName},
                   {QStringLiteral("attempts"), readableChecks},
                   {QStringLiteral("recordingsFolder"), recordingsFolder()}});
  failBeforeTranscription(dictation, reason, text);
}

void RecordingTranscriptionFlow::failWatching(const Dictation& dictation, const AnyError& error) {
  const QString reason = localizedDescription(error);
  leaveBreadcrumb(QStringLiteral("File watcher failed"), QStringLiteral("audio.recording"), ReportLevel::error,
                  {{QStringLiteral("audioPath"), dictation.audioPath},
                   {QStringLiteral("mode"), dictation.modeName},
                   {QStringLiteral("errorDomain"), errorDomain(error)},
                   {QStringLiteral("errorCode"), errorCode(error)},
                   {QStringLiteral("recordingsFolder"), recordingsFolder()},
                   {QStringLiteral("fallbackAttempts"), fallbackChecks}});
  failBeforeTranscription(dictation, reason, QStringLiteral("Error: ") + reason);
}

void RecordingTranscriptionFlow::failBeforeTranscription(const Dictation& dictation, const QString& reason,
                                                         const QString& text) {
  updateState([&](AppStateData& data) {
    data.recordingState = {RecordingState::Idle{}};
    data.lastTranscription = text;
    data.pendingRetryAudioPath = dictation.audioPath;
    data.showRecordingDialog = true;
  });
  disableCancelShortcut();
  const TranscriptPtr transcript = use_.sessionManager.createTranscript(dictation.session, dictation.durationSeconds,
                                                                        dictation.modeName, dictation.audioPath);
  keepFailedTranscript(transcript, reason, text);
  use_.powerActivityManager.end();
  use_.selectedTextService.forget();
  clearAttempt();
}

void RecordingTranscriptionFlow::endCancelled() {
  if (use_.transcriptionPipeline != nullptr) use_.transcriptionPipeline->cancelTranscription();
  updateState([](AppStateData& data) {
    data.recordingState = {RecordingState::Idle{}};
    data.lastTranscription.clear();
  });
  disableCancelShortcut();
  logger_.info("❌ Recording cancelled - stopped transcription");
  use_.powerActivityManager.end();
  use_.selectedTextService.forget();
  clearAttempt();
}

Task<void> RecordingTranscriptionFlow::transcribe(std::shared_ptr<Dictation> dictation, QString finalAudioPath) {
  TranscriptionRequest request;
  request.audioPath = finalAudioPath;
  dictation->mode = modeNamed(dictation->modeName);
  request.mode = dictation->mode;
  if (use_.transcriptionPipeline == nullptr) {
    failTranscription(*dictation, AudioError{AudioError::Kind::noTranscriptionPipeline, QString()});
    co_return;
  }
  leaveTranscriptionBreadcrumb(*dictation, finalAudioPath);
  // Copies: a recording that starts meanwhile captures its own.
  const std::optional<ApplicationContext> context = capturedApplicationContext_;
  if (context) request.applicationContext = &*context;
  request.selectedText = capturedSelectedText_;

  const TimePoint begin = use_.executor.now();
  dictation->timings.stopToDecoding = begin - dictation->stoppedAt;
  std::optional<TimePoint> rewriteBegin;
  Subscription watching;
  if (use_.appState != nullptr)
    watching = use_.appState->observe([&](const AppStateData& data) {
      if (!rewriteBegin && data.recordingState.is<RecordingState::PostProcessing>()) rewriteBegin = use_.executor.now();
    });
  std::optional<Result<TranscriptionResult, AnyError>> outcome;
  try {
    auto transcribing = use_.transcriptionPipeline->transcribeWithDetails(std::move(request));
    outcome.emplace(co_await std::move(transcribing));
  } catch (const Cancelled&) {
  }
  watching.reset();
  if (!outcome) {
    endSilently();
    co_return;
  }
  dictation->textAt = use_.executor.now();
  dictation->timings.decoding = rewriteBegin.value_or(dictation->textAt) - begin;
  if (rewriteBegin) dictation->timings.postProcessing = dictation->textAt - *rewriteBegin;
  if (!*outcome) {
    failTranscription(*dictation, outcome->error());
    co_return;
  }
  deliver(dictation, outcome->value());

  const bool isWav = QFileInfo(dictation->audioPath).suffix().toLower() == QLatin1String("wav");
  if (isWav && use_.settingsManager != nullptr && use_.settingsManager->storage().storeAsM4A())
    scope_.spawn(use_.recordingLifecycle.convertInBackground(dictation->audioPath, dictation->transcript));
}

void RecordingTranscriptionFlow::leaveTranscriptionBreadcrumb(const Dictation& dictation, const QString& path) {
  const QFileInfo file(path);
  const bool isVeryShort = dictation.durationSeconds < veryShortSeconds;
  leaveBreadcrumb(
      isVeryShort ? QStringLiteral("Starting transcription (VERY SHORT)") : QStringLiteral("Starting transcription"),
      QStringLiteral("audio.transcription"), ReportLevel::info,
      {{QStringLiteral("audioPath"), path},
       {QStringLiteral("fileExists"), file.exists()},
       {QStringLiteral("fileReadable"), file.isReadable()},
       {QStringLiteral("fileSizeBytes"), sizeOf(path)},
       {QStringLiteral("duration"), dictation.durationSeconds},
       {QStringLiteral("mode"), dictation.modeName},
       {QStringLiteral("isVeryShortRecording"), isVeryShort},
       {QStringLiteral("isShortRecording"), false}});
}

}  // namespace quillmere
