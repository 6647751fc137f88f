#include "providers/LibWhisperProvider.h"

#include <QDateTime>
#include <QFileInfo>
#include <cmath>

#include "audio/AudioConverter.h"
#include "base/async/CancelToken.h"
#include "base/text/Graphemes.h"
#include "domain/catalogs/SpeechLanguages.h"
#include "models/WhisperModelManager.h"
#include "providers/WhisperContext.h"

namespace quillmere {
namespace {

constexpr float decodingTemperature = 0;
constexpr quint32 conversionChunkFrames = 32768;
constexpr double engineSampleRate = 16000.0;
constexpr size_t veryShortSamples = 1600;

AnyError failure(TranscriptionError::Case kind) {
  return TranscriptionError{std::move(kind)};
}

AnyError localFailure(const QString& reason) {
  return failure(TranscriptionError::ProviderNotAvailable{QStringLiteral("Local Whisper"), reason});
}

AnyError noModelLoaded() {
  return localFailure(QStringLiteral("No model loaded. Please download a model first."));
}

AnyError errorForConversion(ConversionError::Kind kind) {
  switch (kind) {
    case ConversionError::Kind::invalidAudioFile:
    case ConversionError::Kind::unsupportedFormat:
      return failure(TranscriptionError::InvalidAudioFormat{});
    case ConversionError::Kind::emptyAudioFile:
      return failure(TranscriptionError::AudioFileNotFound{});
    case ConversionError::Kind::incomplete:
      return AudioError{AudioError::Kind::incomplete, {}};
    case ConversionError::Kind::conversionFailed:
      break;
  }
  return failure(TranscriptionError::AudioConversionFailed{});
}

QString namesOf(const std::vector<WhisperCppModel>& models) {
  QStringList names;
  for (const auto& model : models) names.append(model.name);
  return names.join(QLatin1String(", "));
}

std::optional<QString> promptFor(const QStringList& vocabulary) {
  if (vocabulary.isEmpty()) return std::nullopt;
  return vocabulary.join(QLatin1Char(' '));
}

// The runs of one request may each begin anew; what is shown only rises. That it tells at all is told at once: reading
// a long file and waiting for the engine's turn take their time.
std::function<void(float)> rising(std::function<void(float)> tell) {
  if (!tell) return {};
  tell(0);
  return [tell = std::move(tell), highest = std::make_shared<float>(0.0f)](float share) {
    if (share <= *highest) return;
    *highest = std::min(share, 1.0f);
    tell(*highest);
  };
}

// Changes when another file takes the place of this one.
QString stampOf(const QString& path) {
  const QFileInfo file(path);
  return QStringLiteral("%1 %2 %3").arg(file.size()).arg(file.lastModified().toMSecsSinceEpoch()).arg(path);
}

}  // namespace

LibWhisperProvider::LibWhisperProvider(Executor& executor, SpeechEngine& engine, WhisperModelManager& models,
                                       AudioConverter& converter, int processorCount, const Logging& logging)
    : executor_(executor),
      logger_(logging.logger(QStringLiteral("LibWhisperProvider"))),
      logging_(logging),
      engine_(engine),
      models_(models),
      converter_(converter),
      processorCount_(processorCount),
      worker_(1, QStringLiteral("whisper")) {
  logger_.info("✅ LibWhisperProvider created with injected model manager");
}

LibWhisperProvider::~LibWhisperProvider() = default;

QString LibWhisperProvider::name() const {
  return QStringLiteral("Local Whisper");
}

bool LibWhisperProvider::isAvailable() const {
  const bool hasContext = whisperContext_ != nullptr;
  const bool hasDownloadedModels = !models_.downloadedModels().empty() || !models_.customModels().empty();
  const bool isAvailable = hasContext || hasDownloadedModels;
  logger_.debug("🔍 Provider availability check: hasContext=%{bool}d, hasDownloadedModels=%{bool}d, available=%{bool}d",
                hasContext, hasDownloadedModels, isAvailable);
  return isAvailable;
}

bool LibWhisperProvider::isDownloaded(const QString& modelName) const {
  return models_.findDownloaded(modelName).has_value();
}

bool LibWhisperProvider::canBeAskedFor(const QString& language, const QString& modelName) const {
  const auto model = models_.findDownloaded(modelName);
  return !model || model->isEnglishOnly || knowsLanguage(*model, language);
}

std::optional<QString> LibWhisperProvider::unsupportedProcessor() const {
  return engine_.unsupportedProcessor();
}

Task<Result<void, AnyError>> LibWhisperProvider::loadModel(QString modelName) {
  const SerialGate::Pass turn = co_await gate_.enter();
  co_return co_await makeResident(modelName);
}

// The caller has the engine's turn.
Task<Result<void, AnyError>> LibWhisperProvider::makeResident(QString modelName) {
  logger_.info("📦 Loading model: %s", modelName);
  if (models_.downloadedModels().empty()) {
    logger_.info("🔍 No models in cache, scanning...");
    models_.scanForModels();
  }
  const auto entry = models_.findDownloaded(modelName);
  if (!entry || !entry->url) {
    logger_.error("❌ Model not found: %s. Available models: %s", modelName, namesOf(models_.downloadedModels()));
    co_return Failed{failure(TranscriptionError::ModelNotDownloaded{modelName})};
  }
  const QString path = entry->url->toLocalFile();
  logger_.info("🔧 Found model at path: %s", path);
  const QString stamp = stampOf(path);
  if (whisperContext_ && isModelReady_ && currentModel_->name == modelName && loadedFileStamp_ == stamp) {
    logger_.debug("Model is in memory already: %s", modelName);
    co_return Result<void, AnyError>();
  }

  isModelReady_ = false;
  if (whisperContext_) {
    logger_.info("♾️ Releasing previous model context");
    const auto previous = std::exchange(whisperContext_, nullptr);
    co_await previous->release();
  }
  if (const auto unsupported = engine_.unsupportedProcessor()) {
    logger_.error("❌ Failed to load model: %@", *unsupported);
    co_return Failed{localFailure(*unsupported)};
  }
  logger_.info("🎨 Creating WhisperContext for %s...", modelName);
  const auto context = std::make_shared<WhisperContext>(engine_, worker_, processorCount_, logging_);
  const auto loaded = co_await context->load(path);
  if (!loaded) {
    logger_.error("❌ Failed to load model: %@", context->why());
    co_return Failed{localFailure(QStringLiteral("Failed to load model '") + modelName + QLatin1Char('\''))};
  }
  whisperContext_ = context;
  currentModel_ = entry;
  loadedFileStamp_ = stamp;
  isModelReady_ = true;
  logger_.info("✅ Model loaded successfully: %s - READY TO TRANSCRIBE!", modelName);
  co_return Result<void, AnyError>();
}

Task<Result<SpeechAnswer, AnyError>> LibWhisperProvider::transcribe(SpeechRequest request) {
  std::optional<Result<SpeechAnswer, AnyError>> answer;
  request.onProgress = rising(std::move(request.onProgress));
  try {
    const SerialGate::Pass turn = co_await gate_.enter();
    answer.emplace(co_await decode(std::move(request)));
  } catch (const Cancelled&) {
    logger_.info("Transcription cancelled");
    throw;
  }
  co_return std::move(*answer);
}

// The caller has the engine's turn.
Task<Result<SpeechAnswer, AnyError>> LibWhisperProvider::decode(SpeechRequest request) {
  SpeechAnswer answer;
  answer.begin = executor_.now();
  if (request.model.isEmpty()) {
    logger_.error("❌ No whisper context available for transcription");
    co_return Failed{noModelLoaded()};
  }
  CO_TRY_OK(co_await makeResident(request.model));
  logger_.info("Starting transcription with model: %s", currentModel_->name);
  CO_TRY(const auto samples, co_await convert(request.audioPath));

  const auto context = whisperContext_;
  WhisperRun run;
  run.samples16kHz = samples;
  run.language = request.language;
  if (!run.language && currentModel_->isEnglishOnly) run.language = QStringLiteral("en");
  run.prompt = promptFor(request.vocabulary);
  run.temperature = decodingTemperature;
  run.onProgress = std::move(request.onProgress);

  const WhisperRunResult first = co_await context->fullTranscribe(run);
  if (!first.succeeded)
    co_return Failed{localFailure(QStringLiteral("Transcription failed. The audio may be corrupted or too short."))};
  answer.text = first.text;
  answer.language = first.detectedLanguage;
  if (isUsable(answer.text)) co_return answer;

  // Run 1 without a language only named it. With a language the same run would give the same nothing.
  if (!run.language && first.detectedLanguage) {
    logger_.warning("⚠️ Empty result. Retrying with detected language forced: %s", *first.detectedLanguage);
    run.language = first.detectedLanguage;
    const WhisperRunResult second = co_await context->fullTranscribe(run);
    if (second.succeeded) {
      answer.text = second.text;
      if (isUsable(answer.text)) co_return answer;
    }
  }
  logger_.warning("⚠️ Still empty after forcing language. Retrying with translation → English");
  run.translate = true;
  const WhisperRunResult third = co_await context->fullTranscribe(run);
  if (third.succeeded) answer.text = third.text;
  co_return answer;
}

bool LibWhisperProvider::isUsable(const QString& text) const {
  if (text.trimmed().isEmpty()) return false;
  logger_.info("Transcription completed - length: %{public}ld chars", graphemeCount(text));
  return true;
}

Task<Result<LibWhisperProvider::Samples, AnyError>> LibWhisperProvider::convert(QString audioPath) {
  ConversionOptions options{conversionChunkFrames, engineSampleRate, false, {}};
  options.progressHandler = [logger = logger_](float fraction) {
    if (std::fmod(fraction, 0.25f) < 0.01f)
      logger.debug("🎵 Audio conversion: %ld%%", static_cast<int>(fraction * 100));
  };
  auto converted = co_await converter_.convert(audioPath, std::move(options));
  if (!converted) {
    const ConversionError& error = converted.error();
    logger_.error("❌ Audio conversion error: %s", error.message());
    co_return Failed{errorForConversion(error.kind)};
  }
  const auto samples = std::make_shared<const std::vector<float>>(std::move(converted).value());
  if (samples->empty()) {
    logger_.error("❌ Audio conversion produced empty output");
    co_return Failed{failure(TranscriptionError::AudioConversionFailed{})};
  }
  logger_.info("✅ Audio converted: %ld samples (%ss @ 16kHz)", samples->size(),
               QString::number(static_cast<double>(samples->size()) / engineSampleRate, 'f', 2));
  if (samples->size() < veryShortSamples) logger_.warning("⚠️ Very short audio: %ld samples", samples->size());
  logger_.info("🎧 Loaded audio samples: %ld", samples->size());
  co_return samples;
}

}  // namespace quillmere
