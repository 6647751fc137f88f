#include "providers/LibWhisperProvider.h"

#include <QDateTime>
#include <QFileInfo>
#include <cmath>

#include "audio/AudioConverter.h"
#include "base/async/CancelToken.h"
#include "base/text/Graphemes.h"
#include "models/WhisperModelManager.h"
#include "providers/WhisperContext.h"

namespace quillmere {
namespace {

constexpr float decodingTemperature = 0.2f;
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

// One word a row, in the given order; a row without a word leaves its blank.
std::optional<QString> promptFor(const std::vector<VocabularyPtr>& vocabulary) {
  if (vocabulary.empty()) return std::nullopt;
  QStringList words;
  for (const auto& row : vocabulary) words.append(row->word.value_or(QString()));
  return words.join(QLatin1Char(' '));
}

// Changes when another file takes the place of this one.
QString stampOf(const QString& path) {
  const QFileInfo file(path);
  return QStringLiteral("%1 %2 %3").arg(file.size()).arg(file.lastModified().toMSecsSinceEpoch()).arg(path);
}

}  // namespace

LibWhisperProvider::LibWhisperProvider(Executor& executor, SpeechEngine& engine, WhisperModelManager& models,
                                       AudioConverter& converter, int processorCount, const Logging& logging)
    : logger_(logging.logger(QStringLiteral("LibWhisperProvider"))),
      logging_(logging),
      engine_(engine),
      models_(models),
      converter_(converter),
      processorCount_(processorCount),
      worker_(1, QStringLiteral("whisper")),
      scope_(executor) {
  logger_.info("✅ LibWhisperProvider created with injected model manager");
}

LibWhisperProvider::~LibWhisperProvider() = default;

QString LibWhisperProvider::name() const {
  return QStringLiteral("Local Whisper");
}

bool LibWhisperProvider::isAvailable() const {
  const bool hasContext = whisperContext_ != nullptr;
  const bool hasDownloadedModels = !models_.downloadedModels().empty() || !models_.customModels().empty();
  const bool isAvailable =
      hasContext || hasDownloadedModels || (pendingModel_ && models_.findDownloaded(*pendingModel_));
  logger_.debug("🔍 Provider availability check: hasContext=%{bool}d, hasDownloadedModels=%{bool}d, available=%{bool}d",
                hasContext, hasDownloadedModels, isAvailable);
  return isAvailable;
}

void LibWhisperProvider::setModel(WhisperModel model) {
  setModel(rawValue(model));
}

void LibWhisperProvider::setModel(const QString& modelName) {
  pendingModel_ = modelName;
  logger_.info("🎯 setModel called with: %s", modelName);
}

bool LibWhisperProvider::isDownloaded(const QString& modelName) const {
  return models_.findDownloaded(modelName).has_value();
}

Task<Result<void, AnyError>> LibWhisperProvider::load(WhisperModel model, bool englishOnly) {
  QString modelName = rawValue(model);
  if (englishOnly && !modelName.endsWith(QLatin1String(".en"))) {
    const QString englishName = modelName + QStringLiteral(".en");
    if (isDownloaded(englishName)) modelName = englishName;
  }
  return loadModel(modelName);
}

Task<Result<void, AnyError>> LibWhisperProvider::loadModel(QString modelName) {
  auto entering = gate_.enter();
  const SerialGate::Pass pass = co_await std::move(entering);

  logger_.info("📦 Loading model: %s", modelName);
  if (models_.downloadedModels().empty()) {
    logger_.info("🔍 No models in cache, scanning...");
    models_.scanForModels();
  }
  const auto entry = models_.findDownloaded(modelName);
  if (!entry || !entry->url) {
    logger_.error("❌ Model not found: %s. Available models: %s", modelName, namesOf(models_.downloadedModels()));
    co_return Failed{failure(TranscriptionError::ModelNotDownloaded{})};
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
    auto releasing = previous->release();
    co_await std::move(releasing);
  }
  if (const auto unsupported = engine_.unsupportedProcessor()) {
    logger_.error("❌ Failed to load model: %@", *unsupported);
    co_return Failed{localFailure(*unsupported)};
  }
  logger_.info("🎨 Creating WhisperContext for %s...", modelName);
  const auto context = std::make_shared<WhisperContext>(engine_, worker_, processorCount_, logging_);
  auto loading = context->load(path);
  const auto loaded = co_await std::move(loading);
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

Task<Result<QString, AnyError>> LibWhisperProvider::transcribe(QString audioPath, std::optional<QString> language,
                                                               ModePtr, std::vector<VocabularyPtr> vocabulary) {
  const CancelToken callerToken = co_await currentCancelToken();
  const int epoch = ++epoch_;
  transcriptionTask_.cancel();
  transcriptionTask_ = {};

  if (pendingModel_) {
    const QString pending = *pendingModel_;
    logger_.info("🔄 Loading pending model before transcription: %s", pending);
    auto loading = loadModel(pending);
    auto loaded = co_await std::move(loading);
    if (!loaded) co_return Failed{std::move(loaded).error()};
    if (pendingModel_ == pending) pendingModel_.reset();
    if (epoch != epoch_) co_return Failed{interrupted()};
  }
  if (!whisperContext_) {
    logger_.error("❌ No whisper context available for transcription");
    logger_.error("   Available models: %s", namesOf(models_.downloadedModels()));
    logger_.error("   Current model: %s", currentModel_ ? currentModel_->name : QStringLiteral("none"));
    logger_.error("   Model ready: %{bool}d", isModelReady_);
    co_return Failed{noModelLoaded()};
  }
  logger_.info("Starting transcription with model: %s",
               currentModel_ ? currentModel_->name : QStringLiteral("unknown"));

  auto work = decode(audioPath, language, std::move(vocabulary));
  transcriptionTask_ = scope_.spawn(std::move(work));
  auto joining = transcriptionTask_.join();
  std::optional<Result<QString, AnyError>> outcome;
  try {
    outcome.emplace(co_await std::move(joining));
  } catch (const Cancelled&) {
    logger_.info("Transcription cancelled");
  }
  if (outcome) co_return std::move(*outcome);
  if (callerToken.isCancelled()) throw Cancelled{};
  co_return Failed{interrupted()};
}

void LibWhisperProvider::cancel() {
  ++epoch_;
  transcriptionTask_.cancel();
  transcriptionTask_ = {};
  logger_.info("Transcription cancelled");
}

AnyError LibWhisperProvider::interrupted() {
  return failure(TranscriptionError::StreamingInterrupted{});
}

Task<Result<QString, AnyError>> LibWhisperProvider::decode(QString audioPath, std::optional<QString> language,
                                                           std::vector<VocabularyPtr> vocabulary) {
  auto conversion = convert(audioPath);
  auto converted = co_await std::move(conversion);
  if (!converted) co_return Failed{std::move(converted).error()};
  const Samples samples = std::move(converted).value();

  auto entering = gate_.enter();
  const SerialGate::Pass pass = co_await std::move(entering);
  const auto context = whisperContext_;
  if (!context) co_return Failed{noModelLoaded()};

  if (!language && currentModel_ && currentModel_->isEnglishOnly) language = QStringLiteral("en");
  context->setLanguage(language);
  context->setPrompt(promptFor(vocabulary));

  auto run1 = context->fullTranscribe(samples, decodingTemperature, false);
  const bool didRun1 = co_await std::move(run1);
  if (!didRun1)
    co_return Failed{localFailure(QStringLiteral("Transcription failed. The audio may be corrupted or too short."))};
  QString text = context->getTranscription();
  if (isUsable(text)) co_return text;

  // Run 1 without a language only named it. With a language the same run would give the same nothing.
  const auto named = language ? std::nullopt : context->detectedLanguage();
  if (named) {
    logger_.warning("⚠️ Empty result. Retrying with detected language forced: %s", *named);
    context->setLanguage(*named);
    auto run2 = context->fullTranscribe(samples, decodingTemperature, false);
    const bool didRun2 = co_await std::move(run2);
    if (didRun2) {
      text = context->getTranscription();
      if (isUsable(text)) co_return text;
    }
  }
  logger_.warning("⚠️ Still empty after forcing language. Retrying with translation → English");
  auto run3 = context->fullTranscribe(samples, decodingTemperature, true);
  const bool didRun3 = co_await std::move(run3);
  if (didRun3) text = context->getTranscription();
  co_return text;
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
  auto conversion = converter_.convert(audioPath, std::move(options));
  auto converted = co_await std::move(conversion);
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
