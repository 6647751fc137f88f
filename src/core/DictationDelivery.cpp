// From finished audio to the text, the row in the history and the cursor.
#include <QFileInfo>

#include "base/async/Async.h"
#include "base/text/Graphemes.h"
#include "base/text/LocalizedText.h"
#include "core/AppState.h"
#include "core/Dictation.h"
#include "delivery/AutoPasteHandler.h"
#include "delivery/PasteTexts.h"
#include "postprocessing/TranscriptionTextProcessing.h"
#include "projects/SpokenFileTags.h"
#include "recording/RecordingFinisher.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "transcripts/TranscriptRoad.h"
#include "transcripts/TranscriptRow.h"

namespace quillmere {
namespace {

qsizetype wordCount(const QString& text) {
  return text.split(u' ', Qt::SkipEmptyParts).size();
}

bool isNoSpeech(const AnyError& error) {
  const auto* transcription = std::get_if<TranscriptionError>(&error);
  return transcription != nullptr && transcription->is<TranscriptionError::NoSpeechDetected>();
}

}  // namespace

Task<void> Dictation::transcribe() {
  mode_ = modeAtEnd();
  TranscriptJob job;
  job.audioPath = *recording_.path;
  job.durationSeconds = recording_.duration;
  job.mode = mode_;
  job.modeName = modeName();
  job.source = TranscriptJob::Source::recording;
  job.session = recording_.session;
  job.applicationContext = context_;
  job.selectedText = selectedText_;
  job.onRow = [this](const TranscriptPtr& row) { row_ = row; };
  job.onStage = [this](TranscriptJob::Stage stage) {
    if (stage == TranscriptJob::Stage::rewriting) host_.rewrites(*this);
  };
  job.onRewrittenText = [this](const QString& text) {
    host_.show(*this, [&](AppStateData& data) { data.streamingText = text; });
  };
  job.onRewritingProblem = [this](const TranscriptionError& error) { use_.appState.showTranscriptionError(error); };
  host_.transcribes(*this);
  const bool isPasted = use_.settingsManager.pasteResultText();
  if (isPasted) scope_.spawn(borrowClipboard());

  roadTask_ = scope_.spawn(use_.road.run(std::move(job)));
  if (!isTextWanted_ || isClosing_) roadTask_.cancel();
  auto joining = roadTask_.join();
  std::optional<TranscriptOutcome> outcome;
  try {
    outcome.emplace(co_await std::move(joining));
  } catch (const Cancelled&) {
  }
  if (!outcome) {
    logger_.info("❌ Transcription cancelled (no error shown)");
    if (isClosing_ && row_) keepAsClosed(row_);
    co_return;
  }
  row_ = outcome->row;
  noteTimings(*outcome);
  if (outcome->error && !isNoSpeech(*outcome->error)) {
    failTranscription(*outcome->error);
    co_return;
  }
  if (outcome->isEmpty() || !outcome->result) {
    logger_.info("Nothing was heard");
    notice(DictationNotice::nothingHeard, localizedText("recording.notice.nothingHeard"));
    endTimings();
  } else {
    co_await deliver(std::move(*outcome->result));
  }
  // Compressing takes the processor; the user has the text by now.
  const bool isWav = QFileInfo(*recording_.path).suffix().toLower() == QLatin1String("wav");
  const bool isLarge = QFileInfo(*recording_.path).size() > RecordingFinisher::wavToM4AThresholdBytes;
  if (isWav && (isLarge || use_.settingsManager.storage().storeAsM4A())) host_.compressLater(*recording_.path, row_);
}

// The mode goes by its identifier: renamed meanwhile it is still the same one. Where the user has chosen another one
// while speaking, that one is meant.
ModePtr Dictation::modeAtEnd() const {
  const bool isSelected = !beginning_.modeName && host_.isNewest(*this);
  const ModePtr mode = use_.persistence.fetchMode(isSelected ? use_.appState.data().selectedModeId : modeId_);
  return mode ? mode : mode_;
}

void Dictation::noteTimings(const TranscriptOutcome& outcome) {
  textAt_ = use_.executor.now();
  timings_.trimming = outcome.trimming;
  if (outcome.decodingBegan != TimePoint{}) timings_.stopToDecoding = outcome.decodingBegan - endedAt_;
  timings_.decoding = outcome.decoding;
  timings_.postProcessing = outcome.rewriting;
}

// In the shadow of the decoding: the paste has not to wait for a slow owner of the clipboard.
Task<void> Dictation::borrowClipboard() {
  clipboard_ = co_await use_.autoPasteHandler.borrowClipboard();
}

void Dictation::failTranscription(const AnyError& error) {
  const QString description = localizedDescription(error);
  logger_.error("❌ Transcription error: %@", description);
  host_.show(*this, [&](AppStateData& data) { data.lastFailedTranscript = row_ ? row_->id : std::nullopt; });
  const bool isNetwork = isNetworkFailure(error);
  tell(isNetwork ? localizedText("recording.error.noInternet") : description, isCritical(error), isNetwork);
}

Task<void> Dictation::deliver(TranscriptionResult result) {
  host_.hasText(*this);
  host_.show(*this, [&](AppStateData& data) {
    data.lastTranscription = result.text;
    data.pendingRetryAudioPath.reset();
  });
  awake_.reset();
  logger_.info("✅ Transcription complete: %ld chars, %ld words", graphemeCount(result.text), wordCount(result.text));
  if (!use_.settingsManager.pasteResultText()) {
    logger_.info("📋 Auto-paste disabled - transcription in dialog only");
    leavesPill_ = true;
    host_.show(*this, [](AppStateData& data) { data.transcriptionPasteFailed = true; });
    endTimings();
    co_return;
  }
  QString text = result.text;
  std::vector<ProcessedTag> tags;
  if (use_.fileTags != nullptr && use_.settingsManager.developerMode().enableDeveloperMode() &&
      use_.fileTags->hasFileIndex()) {
    const std::optional<QString> bundleId = target_ ? std::optional(target_->bundleId) : std::nullopt;
    SpokenFileTags::Resolution resolved = use_.fileTags->resolve(text, bundleId);
    const auto found = resolved.tags.size();
    text = std::move(resolved.text);
    tags = std::move(resolved.tags);
    std::erase_if(tags, [](const ProcessedTag& tag) { return !tag.matchedFile.has_value(); });
    logger_.info("🔍 File tag processing: %ld tags, %ld matched", found, tags.size());
  }
  const QString language = mode_ && mode_->language ? *mode_->language : QStringLiteral("en");
  text = TranscriptionTextProcessing::appendTrailingSpace(text, language);
  co_await paste(std::move(text), std::move(tags));
}

Task<void> Dictation::paste(QString text, std::vector<ProcessedTag> tags) {
  PasteRequest request;
  request.text = text;
  request.tags = std::move(tags);
  request.target = target_;
  request.typing = typing_;
  request.clipboard = std::move(clipboard_);
  const auto keys = std::make_shared<PasteKeys>(PasteKeys::controlV);
  request.onLeft = [keys](PasteKeys told) { *keys = told; };
  const PasteOutcome outcome = co_await use_.autoPasteHandler.paste(std::move(request));
  const bool isPasted = outcome == PasteOutcome::pasted;
  host_.show(*this, [&](AppStateData& data) {
    data.lastPastedText = text;
    data.lastPaste = outcome;
    data.lastPasteTarget = target_;
    data.lastPasteKeys = *keys;
    data.transcriptionPasteFailed = !isPasted;
  });
  if (isPasted) {
    logger_.info("✅ Auto-paste successful - closing dialog");
    timings_.decodedToPasted = use_.executor.now() - textAt_;
  } else {
    logger_.info("📋 Auto-paste failed - keeping dialog open");
    leavesPill_ = true;
    // The pill is about a newer one, or nobody wants it.
    if (!host_.isNewest(*this) || !use_.settingsManager.general().showRecordingWindow())
      use_.appState.showNotice(pasteNotice(use_.autoPasteHandler.isOnClipboard(text), *keys));
  }
  endTimings();
}

void Dictation::endTimings() {
  const Duration afterText = timings_.decodedToPasted.value_or(Duration::zero());
  timings_.stopToText = textAt_ - endedAt_ + afterText;
  logger_.info("Stop-to-text: %{public}s", timings_.summary());
  finalTimings_ = timings_;
}

}  // namespace quillmere
