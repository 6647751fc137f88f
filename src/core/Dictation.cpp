#include "core/Dictation.h"

#include <QUuid>

#include "base/text/LocalizedText.h"
#include "core/AppState.h"
#include "delivery/AutoPasteHandler.h"
#include "ports/ErrorReporting.h"
#include "recording/RecordingSessionManager.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "transcripts/TranscriptRow.h"

namespace quillmere {

Dictation::Dictation(const DictationServices& services, DictationHost& host, Beginning beginning, const Logger& logger)
    : use_(services),
      host_(host),
      beginning_(std::move(beginning)),
      attemptId_(QUuid::createUuid().toString(QUuid::WithoutBraces)),
      logger_(logger),
      scope_(services.executor) {}

Dictation::~Dictation() = default;

Task<void> Dictation::run() {
  if (!co_await start()) co_return;
  co_await endAsked_.wait();
  if (!co_await finishRecording()) co_return;
  co_await transcribe();
}

void Dictation::end(Ending ending, TimePoint at) {
  assertCurrent(use_.executor);
  if (!ending_) endedAt_ = at;
  // What was thrown away is not asked for again, and what the application's end keeps is not transcribed any more.
  if (!ending_ || *ending_ == Ending::transcribe) ending_ = ending;
  endAsked_.resolve();
  if (ending != Ending::transcribe) startTask_.cancel();
}

void Dictation::cancelTranscription() {
  assertCurrent(use_.executor);
  isTextWanted_ = false;
  roadTask_.cancel();
}

void Dictation::close() {
  assertCurrent(use_.executor);
  isClosing_ = true;
  end(Ending::keep, use_.executor.now());
  roadTask_.cancel();
}

// --- what all stretches share

QString Dictation::modeName() const {
  return mode_ && mode_->name ? *mode_->name : QStringLiteral("Default");
}

void Dictation::tell(const QString& message, bool isCritical, bool isNetwork) {
  host_.show(*this, [&](AppStateData& data) { data.dictationError = DictationError{message, isCritical, isNetwork}; });
  use_.appState.showError(message, isCritical);
}

// The pill says it in two words; without one a toast does.
void Dictation::notice(DictationNotice notice, const QString& toast) {
  if (!host_.isNewest(*this) || !use_.settingsManager.general().showRecordingWindow()) {
    use_.appState.showNotice(toast);
    return;
  }
  leavesPill_ = true;
  host_.show(*this, [&](AppStateData& data) { data.dictationNotice = notice; });
}

TranscriptPtr Dictation::makeRow(const QString& status) {
  return use_.sessionManager.createTranscript(recording_.session, recording_.duration, modeName(), recording_.path,
                                              status);
}

void Dictation::discardRow() {
  (void)makeRow(QString::fromLatin1(TranscriptStatus::discarded));
  logger_.info("❌ Recording cancelled - stopped transcription");
}

void Dictation::keepAsClosed(const TranscriptPtr& row) {
  const QString reason = localizedText("recording.error.closedBeforeTranscription");
  failTranscript(*row, reason, failedTranscriptText(reason));
  use_.persistence.save();
}

void Dictation::leaveBreadcrumb(const QString& message, const QString& category, ReportLevel level,
                                QVariantMap data) const {
  if (!use_.errorReporting.isEnabled()) return;
  data.insert(QStringLiteral("attemptId"), attemptId_);
  use_.errorReporting.addBreadcrumb({message, category, level, data});
}

}  // namespace quillmere
