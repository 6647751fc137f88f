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

// Two processors are left to others, but a computer with few of them decodes with all: waiting costs its user more.
int WhisperContext::threadCount(int processorCount) {
  return std::clamp(std::max(processorCount - 2, std::min(4, processorCount)), 1, 8);
}

Task<Result<void, WhisperError>> WhisperContext::load(QString path) {
  logger_.debug("Metal acceleration enabled");
  auto work = [native = native_, path](const StopFlag&) -> std::optional<QString> {
    auto loaded = native->engine.load(path);
    if (!loaded) return loaded.error().description;
    native->context = std::move(loaded).value();
    return std::nullopt;
  };
  const std::optional<QString> failure = co_await offload(worker_, std::move(work));
  if (failure) {
    why_ = *failure;
    logger_.error("Failed to load model from: %s", path);
    co_return Failed{WhisperError::modelLoadFailed};
  }
  isLoaded_ = true;
  logger_.info("Successfully loaded model from: %s", path);
  co_return Result<void, WhisperError>();
}

Task<WhisperRunResult> WhisperContext::fullTranscribe(WhisperRun run) {
  WhisperRunResult result;
  if (!isLoaded_) {
    logger_.error("No context available for transcription");
    co_return result;
  }
  SpeechRunParameters parameters;
  parameters.threads = threads_;
  parameters.translate = run.translate;
  parameters.temperature = run.temperature;
  parameters.detectLanguage = !run.language.has_value();
  if (run.language) {
    parameters.language = engineLanguage(*run.language);
    logger_.info("🌍 Language set to: %s", *run.language);
  } else {
    logger_.info("🌍 Language auto-detection enabled");
  }
  if (run.prompt) parameters.initialPrompt = run.prompt->toUtf8();
  // Lives and is called on this thread only; the engine's thread passes on where it is.
  const auto progress = std::make_shared<const std::function<void(float)>>(std::move(run.onProgress));
  if (*progress) {
    Executor& executor = co_await currentExecutor();
    parameters.onProgress = [&executor, listener = std::weak_ptr(progress)](float share) {
      executor.post([listener, share] {
        if (const auto tell = listener.lock()) (*tell)(share);
      });
    };
  }

  struct Outcome {
    bool succeeded = false;
    std::vector<QByteArray> segments;
    std::optional<QString> detectedLanguage;
  };
  auto work = [native = native_, samples = std::move(run.samples16kHz), parameters](const StopFlag& stop) {
    Outcome outcome;
    if (!native->context || samples->size() > std::numeric_limits<std::int32_t>::max()) return outcome;
    SpeechEngineContext& context = *native->context;
    outcome.succeeded = context.run(samples, parameters, stop.atomic());
    if (!outcome.succeeded) return outcome;
    outcome.segments.reserve(static_cast<size_t>(std::max(0, context.segmentCount())));
    for (int i = 0; i < context.segmentCount(); ++i) outcome.segments.push_back(context.segmentText(i));
    if (const auto language = context.detectedLanguage()) outcome.detectedLanguage = QString::fromUtf8(*language);
    return outcome;
  };
  const Outcome outcome = co_await offload(worker_, std::move(work));
  if (!outcome.succeeded) logger_.error("whisper_full failed");
  result.succeeded = outcome.succeeded;
  if (outcome.succeeded) result.text = cleanedText(outcome.segments);
  result.detectedLanguage = outcome.detectedLanguage;
  co_return result;
}

QString WhisperContext::cleanedText(const std::vector<QByteArray>& segments) const {
  logger_.debug("🔎 Segments detected: %d", static_cast<int>(segments.size()));
  QByteArray joined;  // as bytes: a character may be split between two segments
  int number = 0;
  for (const QByteArray& segment : segments) {
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

Task<void> WhisperContext::release() {
  isLoaded_ = false;
  auto work = [native = native_](const StopFlag&) {
    native->context.reset();
    return true;
  };
  co_await offload(worker_, std::move(work));
  logger_.info("Released Whisper resources");
}

}  // namespace quillmere
