#include "providers/WhisperContext.h"

#include <algorithm>
#include <limits>

#include "base/async/Offload.h"
#include "base/text/Graphemes.h"
#include "postprocessing/TranscriptionTextProcessing.h"

namespace quillmere {
namespace {

constexpr int segmentPreviewCharacters = 200;

// The engine knows plain language codes only: "pt" of "pt-BR".
QByteArray engineLanguage(const QString& language) {
  return language.section(QLatin1Char('-'), 0, 0).section(QLatin1Char('_'), 0, 0).toLower().toUtf8();
}

}  // namespace

struct WhisperContext::Native {
  explicit Native(SpeechEngine& speechEngine) : engine(speechEngine) {}
  SpeechEngine& engine;
  std::unique_ptr<SpeechEngineContext> context;  // touched on the worker only
};

WhisperContext::WhisperContext(SpeechEngine& engine, WorkerPool& worker, int processorCount, const Logging& logging)
    : native_(std::make_shared<Native>(engine)),
      worker_(worker),
      threads_(threadCount(processorCount)),
      logger_(logging.logger(QStringLiteral("WhisperContext"))) {}

int WhisperContext::threadCount(int processorCount) {
  return std::clamp(processorCount - 2, 1, 8);
}

Task<Result<void, WhisperError>> WhisperContext::load(QString path) {
  logger_.debug("Metal acceleration enabled");
  auto work = [native = native_, path](const StopFlag&) -> std::optional<QString> {
    auto loaded = native->engine.load(path);
    if (!loaded) return loaded.error().description;
    native->context = std::move(loaded).value();
    return std::nullopt;
  };
  auto task = offload(worker_, std::move(work));
  const std::optional<QString> failure = co_await std::move(task);
  if (failure) {
    why_ = *failure;
    logger_.error("Failed to load model from: %s", path);
    co_return Failed{WhisperError::modelLoadFailed};
  }
  isLoaded_ = true;
  logger_.info("Successfully loaded model from: %s", path);
  co_return Result<void, WhisperError>();
}

Task<bool> WhisperContext::fullTranscribe(std::shared_ptr<const std::vector<float>> samples16kHz, float temperature,
                                          bool translate) {
  outcome_ = {};
  if (!isLoaded_) {
    logger_.error("No context available for transcription");
    co_return false;
  }
  SpeechRunParameters parameters;
  parameters.threads = threads_;
  parameters.translate = translate;
  parameters.temperature = temperature;
  parameters.detectLanguage = !language_.has_value();
  if (language_) {
    parameters.language = engineLanguage(*language_);
    logger_.info("🌍 Language set to: %s", *language_);
  } else {
    logger_.info("🌍 Language auto-detection enabled");
  }
  if (prompt_) parameters.initialPrompt = prompt_->toUtf8();

  struct RunResult {
    bool succeeded = false;
    Outcome outcome;
  };
  auto work = [native = native_, samples = std::move(samples16kHz), parameters](const StopFlag& stop) {
    RunResult result;
    if (!native->context || samples->size() > std::numeric_limits<std::int32_t>::max()) return result;
    SpeechEngineContext& context = *native->context;
    result.succeeded = context.run(samples, parameters, stop.atomic());
    if (!result.succeeded) return result;
    result.outcome.segments.reserve(static_cast<size_t>(std::max(0, context.segmentCount())));
    for (int i = 0; i < context.segmentCount(); ++i) result.outcome.segments.push_back(context.segmentText(i));
    if (const auto language = context.detectedLanguage())
      result.outcome.detectedLanguage = QString::fromUtf8(*language);
    return result;
  };
  auto task = offload(worker_, std::move(work));
  RunResult result = co_await std::move(task);
  if (!result.succeeded) logger_.error("whisper_full failed");
  outcome_ = std::move(result.outcome);
  co_return result.succeeded;
}

QString WhisperContext::getTranscription() const {
  if (!isLoaded_) return {};
  logger_.debug("🔎 Segments detected: %d", static_cast<int>(outcome_.segments.size()));
  QByteArray joined;  // as bytes: a character may be split between two segments
  int number = 0;
  for (const QByteArray& segment : outcome_.segments) {
    joined += segment;
    const QString text = QString::fromUtf8(segment);
    const QString preview = leftGraphemes(text, segmentPreviewCharacters);
    if (preview.size() == text.size())
      logger_.debug("Segment #%d text: %s", number, text);
    else
      logger_.debug("Segment #%d preview: %s…", number, preview);
    ++number;
  }
  const QString raw = QString::fromUtf8(joined);
  const QString cleaned = TranscriptionTextProcessing::removeHallucinations(raw);
  logger_.info("📝 Raw transcription: %ld chars", graphemeCount(raw));
  logger_.info("🧹 Cleaned transcription: %ld chars", graphemeCount(cleaned));
  return cleaned;
}

std::optional<QString> WhisperContext::detectedLanguage() const {
  return outcome_.detectedLanguage;
}

Task<void> WhisperContext::release() {
  isLoaded_ = false;
  outcome_ = {};
  auto work = [native = native_](const StopFlag&) {
    native->context.reset();
    return true;
  };
  auto task = offload(worker_, std::move(work));
  co_await std::move(task);
  logger_.info("Released Whisper resources");
}

}  // namespace quillmere
