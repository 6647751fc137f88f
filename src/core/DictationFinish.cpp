// From the stop of the recording to finished audio.
#include <QFileInfo>

#include "base/async/Async.h"
#include "base/text/LocalizedText.h"
#include "core/AppState.h"
#include "core/Dictation.h"
#include "core/InterruptionNotice.h"
#include "domain/ModeData.h"
#include "recording/FileWatcher.h"
#include "recording/RecordingLifecycle.h"
#include "recording/RecordingSessionManager.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "transcripts/TranscriptRoad.h"
#include "transcripts/TranscriptRow.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr auto firstWriteLimit = 3s;
constexpr int readableChecks = 5;
constexpr auto readablePause = 100ms;
constexpr int fallbackChecks = 20;
constexpr auto fallbackPause = 150ms;

bool isReadableFile(const QString& path) {
  const QFileInfo file(path);
  return file.isFile() && file.isReadable();
}

}  // namespace

// How the wait for a finished file ended.
struct Dictation::FileWait {
  bool isReadable = false;
  std::optional<AnyError> watcherError;  // why the slower checks were needed
};

// False when the dictation ends here: thrown away, too short, or without a file that can be read.
Task<bool> Dictation::finishRecording() {
  leaveBreadcrumb(
      QStringLiteral("Recording stop requested"), QStringLiteral("audio.recording"), ReportLevel::info,
      {{QStringLiteral("cancelled"), ending_ == Ending::discard}, {QStringLiteral("trigger"), rawValue(trigger())}});
  const StopIntent intent = ending_ == Ending::discard ? StopIntent::discard : StopIntent::keep;
  const QString model = modeAtEnd()->model.value_or(QString());
  const bool isLocal = providerTypeOfModel(model) == ProviderType::local;
  auto stopped = co_await use_.recordingLifecycle.stopRecording(intent, isLocal);
  if (!stopped) co_return false;
  recording_ = std::move(*stopped);
  if (recording_.firstSampleAt) timings_.triggerToFirstSample = *recording_.firstSampleAt - beginning_.pressedAt;
  if (recording_.isTooShort) {
    tooShort(recording_.interruption);
    co_return false;
  }
  if (!recording_.path) {
    if (ending_ == Ending::transcribe)
      tell(localizedDescription(AudioError{AudioError::Kind::fileNotReadable, QString()}), false);
    co_return false;
  }
  if (recording_.conversionWarning) {
    logger_.warning("Audio compression failed: %{public}s - attempting transcription anyway",
                    *recording_.conversionWarning);
    use_.appState.showNotice(*recording_.conversionWarning);
  }
  const FileWait wait = co_await waitUntilReadable();
  if (ending_ == Ending::discard) {
    discardRow();
    co_return false;
  }
  if (ending_ == Ending::keep) {
    keepAsClosed(makeRow(QStringLiteral("processing")));
    co_return false;
  }
  if (!wait.isReadable) {
    failUnreadable(wait);
    co_return false;
  }
  timings_.stopToFileReady = use_.executor.now() - endedAt_;
  if (recording_.interruption)
    use_.appState.showNotice(interruptionNotice(recording_.interruption->kind, recording_.duration));
  co_return true;
}

void Dictation::tooShort(const std::optional<AudioRecorder::Interruption>& interruption) {
  logger_.info("⏱️ Recording too short (%ss) - discarding", QString::number(recording_.duration, 'f', 2));
  leaveBreadcrumb(QStringLiteral("Recording discarded - too short"), QStringLiteral("audio.recording"),
                  ReportLevel::info, {{QStringLiteral("recordingDurationMs"), qint64(recording_.duration * 1000)}});
  if (ending_ != Ending::transcribe) return;
  if (interruption) {
    use_.appState.showNotice(interruptionNotice(interruption->kind, std::nullopt));
    return;
  }
  notice(DictationNotice::tooShort, localizedDescription(AudioError{AudioError::Kind::recordingTooShort, QString()}));
}

Task<Dictation::FileWait> Dictation::waitUntilReadable() {
  const QString path = *recording_.path;
  FileWait outcome;
  logger_.info("Waiting for audio file to become ready...");
  const auto written = co_await use_.fileWatcher.waitForFirstWrite(path, firstWriteLimit);
  const bool isSeen = written.hasValue();
  if (!isSeen) {
    outcome.watcherError = AnyError(written.error());
    logger_.error("Failed to wait for audio file: %s", localizedDescription(*outcome.watcherError));
  }
  const int checks = isSeen ? readableChecks : fallbackChecks;
  const Duration pause = isSeen ? Duration(readablePause) : Duration(fallbackPause);
  for (int attempt = 1;; ++attempt) {
    if (isReadableFile(path)) {
      logger_.info("File is readable on attempt #%ld.", attempt);
      outcome.isReadable = true;
      co_return outcome;
    }
    if (attempt == checks) co_return outcome;
    logger_.info("Readability check attempt #%ld failed. Retrying...", attempt);
    co_await sleepFor(pause);
  }
}

void Dictation::failUnreadable(const FileWait& wait) {
  const QString reason =
      wait.watcherError ? localizedDescription(*wait.watcherError) : localizedText("recording.error.fileUnreadable");
  logger_.error("❌ Audio file not readable after waiting: %{public}s", *recording_.path);
  leaveBreadcrumb(QStringLiteral("Audio file not readable after waiting."), QStringLiteral("audio.recording"),
                  ReportLevel::error, {{QStringLiteral("audioPath"), *recording_.path}});
  row_ = makeRow(QStringLiteral("processing"));
  failTranscript(*row_, reason, failedTranscriptText(reason));
  use_.persistence.save();
  host_.show(*this, [&](AppStateData& data) {
    data.pendingRetryAudioPath = *recording_.path;
    data.lastFailedTranscript = row_->id;
  });
  tell(reason, false);
}

}  // namespace quillmere
