// From the text to the row in the history and the cursor of the application that the user came from.
#include <QFileInfo>

#include "base/async/Async.h"
#include "base/text/Graphemes.h"
#include "context/SelectedTextService.h"
#include "core/AppState.h"
#include "core/RecordingTranscriptionFlow.h"
#include "core/TranscriptOutcome.h"
#include "delivery/AutoPasteHandler.h"
#include "postprocessing/TranscriptionTextProcessing.h"
#include "projects/SpokenFileTags.h"
#include "providers/Transcriber.h"
#include "recording/PowerActivityManager.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"

namespace quillmere {
namespace {

bool isNetworkFailure(const AnyError& error) {
  if (const auto* transcription = std::get_if<TranscriptionError>(&error))
    return transcription->is<TranscriptionError::NetworkError>();
  if (const auto* hosted = std::get_if<HostedCloudError>(&error))
    return hosted->kind == HostedCloudError::Kind::networkFailure;
  if (const auto* url = std::get_if<UrlError>(&error)) {
    switch (url->code) {
      case UrlError::notConnectedToInternet:
      case UrlError::networkConnectionLost:
      case UrlError::cannotFindHost:
      case UrlError::cannotConnectToHost:
      case UrlError::dnsLookupFailed:
        return true;
      default:
        return false;
    }
  }
  return false;
}

qsizetype wordCount(const QString& text) {
  return text.split(u' ', Qt::SkipEmptyParts).size();
}

}  // namespace

void RecordingTranscriptionFlow::deliver(const std::shared_ptr<Dictation>& dictation,
                                         const TranscriptionResult& result) {
  updateState([&](AppStateData& data) {
    data.lastTranscription = result.text;
    data.recordingState = {RecordingState::Idle{}};
    data.pendingRetryAudioPath.reset();
  });

  completeTranscript(*dictation->transcript, result);
  use_.persistence.save();
  disableCancelShortcut();
  logger_.info("✅ Updated transcript with transcription");
  use_.powerActivityManager.end();
  use_.selectedTextService.forget();

  if (use_.settingsManager == nullptr || !use_.settingsManager->pasteResultText()) {
    logger_.info("📋 Auto-paste disabled - transcription in dialog only");
    updateState([](AppStateData& data) {
      data.transcriptionPasteFailed = true;
      data.showRecordingDialog = true;
    });
    endClipboardSession();
    publishTimings(*dictation);
  } else {
    QString text = result.text;
    std::vector<ProcessedTag> tags;
    if (use_.settingsManager->developerMode().enableDeveloperMode() && use_.fileTags != nullptr &&
        use_.fileTags->hasFileIndex()) {
      SpokenFileTags::Resolution resolved = use_.fileTags->resolve(text, previousFrontmostBundleID_);
      const auto found = resolved.tags.size();
      text = std::move(resolved.text);
      tags = std::move(resolved.tags);
      std::erase_if(tags, [](const ProcessedTag& tag) { return !tag.matchedFile.has_value(); });
      logger_.info("🔍 File tag processing: %ld tags, %ld matched", found, tags.size());
    }
    const ModePtr& mode = dictation->mode;
    const QString language = mode && mode->language ? *mode->language : QStringLiteral("en");
    text = TranscriptionTextProcessing::appendTrailingSpace(text, language);
    scope_.spawn(paste(dictation, std::move(text), std::move(tags)));
  }
  logger_.info("✅ Transcription complete: %ld chars, %ld words", graphemeCount(result.text), wordCount(result.text));
}

Task<void> RecordingTranscriptionFlow::paste(std::shared_ptr<Dictation> dictation, QString text,
                                             std::vector<ProcessedTag> tags) {
  auto pasting = use_.autoPasteHandler.paste(std::move(text), std::move(tags));
  const bool wasPasted = co_await std::move(pasting);
  if (wasPasted) {
    updateState([](AppStateData& data) {
      data.transcriptionPasteFailed = false;
      data.showRecordingDialog = false;
      data.isStreamingShortcutTriggered = false;
    });
    logger_.info("✅ Auto-paste successful - closing dialog");
    dictation->timings.decodedToPasted = use_.executor.now() - dictation->textAt;
  } else {
    updateState([](AppStateData& data) {
      data.transcriptionPasteFailed = true;
      data.showRecordingDialog = true;
    });
    logger_.info("📋 Auto-paste failed - text on clipboard, keeping dialog open");
  }
  publishTimings(*dictation);
}

void RecordingTranscriptionFlow::publishTimings(Dictation& dictation) {
  const Duration afterText = dictation.timings.decodedToPasted.value_or(Duration::zero());
  dictation.timings.stopToText = dictation.textAt - dictation.stoppedAt + afterText;
  logger_.info("Stop-to-text: %{public}s", dictation.timings.summary());
  lastTimings_.set(dictation.timings);
}

// --- a transcription without a text

void RecordingTranscriptionFlow::endSilently() {
  updateState([](AppStateData& data) {
    data.lastTranscription.clear();
    data.recordingState = {RecordingState::Idle{}};
  });
  disableCancelShortcut();
  logger_.info("❌ Transcription cancelled (no error shown)");
  use_.powerActivityManager.end();
  endClipboardSession();
}

void RecordingTranscriptionFlow::failTranscription(const Dictation& dictation, const AnyError& error) {
  const QString description = localizedDescription(error);
  const auto* transcription = std::get_if<TranscriptionError>(&error);
  const bool isInterruption = transcription != nullptr && transcription->is<TranscriptionError::StreamingInterrupted>();
  const bool isNetwork = isNetworkFailure(error);
  if (isInterruption) {
    logger_.warning("⚠️ Streaming interrupted; kept partial text on screen");
  } else {
    logger_.error("❌ Transcription error: %@", description);
    if (!isNetwork && use_.appState != nullptr) use_.appState->showError(description);
  }
  updateState([&](AppStateData& data) {
    data.recordingState = {RecordingState::Idle{}};
    if (isInterruption) return;
    if (isNetwork) {
      data.errorMessage.reset();
      data.showErrorAlert = false;
    } else {
      data.lastFailedTranscript = dictation.transcript->id;
    }
    data.lastTranscription =
        QStringLiteral("Error: ") + (isNetwork ? QStringLiteral("No internet connection") : description);
  });
  keepFailedTranscript(dictation.transcript, description, failedTranscriptText(description));
  disableCancelShortcut();
  use_.powerActivityManager.end();
  endClipboardSession();
}

void RecordingTranscriptionFlow::keepFailedTranscript(const TranscriptPtr& transcript, const QString& reason,
                                                      const QString& text) {
  failTranscript(*transcript, reason, text);
  use_.persistence.save();
}

// --- again

Task<void> RecordingTranscriptionFlow::retry() {
  if (use_.appState == nullptr || !use_.appState->data().pendingRetryAudioPath) co_return;
  const QString path = *use_.appState->data().pendingRetryAudioPath;
  if (path.isEmpty()) co_return;
  const QFileInfo file(path);
  if (!file.isFile() || !file.isReadable()) {
    updateState([](AppStateData& data) {
      data.pendingRetryAudioPath.reset();
      data.recordingState = {RecordingState::Idle{}};
      data.lastTranscription = QStringLiteral("Error: Audio file missing for retry");
      data.showRecordingDialog = true;
    });
    co_return;
  }
  TranscriptionRequest request;
  request.audioPath = path;
  request.mode = modeNamed(use_.appState->data().selectedModeName);
  updateState([](AppStateData& data) {
    data.recordingState = {RecordingState::Transcribing{}};
    data.showRecordingDialog = true;
  });
  const std::optional<ApplicationContext> context = capturedApplicationContext_;
  if (context) request.applicationContext = &*context;

  std::optional<Result<TranscriptionResult, AnyError>> outcome;
  if (use_.transcriptionPipeline == nullptr) {
    outcome.emplace(Failed{AnyError(AudioError{AudioError::Kind::noTranscriptionPipeline, QString()})});
  } else {
    try {
      auto transcribing = use_.transcriptionPipeline->transcribeWithDetails(std::move(request));
      outcome.emplace(co_await std::move(transcribing));
    } catch (const Cancelled&) {
    }
  }
  if (!outcome) {  // the user ended it: no error, and the path stays for the next try
    setRecordingState({RecordingState::Idle{}});
    co_return;
  }
  updateState([&](AppStateData& data) {
    data.recordingState = {RecordingState::Idle{}};
    if (*outcome) {
      data.lastTranscription = outcome->value().text;
      data.pendingRetryAudioPath.reset();
    } else {
      data.lastTranscription = QStringLiteral("Error: ") + localizedDescription(outcome->error());
      data.showRecordingDialog = true;
    }
  });
}

}  // namespace quillmere
