#include "core/TranscriptionPipeline.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QtEndian>
#include <chrono>

#include "base/async/Await.h"
#include "base/async/Offload.h"
#include "core/AppState.h"
#include "ports/DefaultsStore.h"
#include "ports/ErrorReporting.h"
#include "postprocessing/AIPostProcessing.h"
#include "postprocessing/VocabularyProcessor.h"
#include "providers/HostedTranscriptionProvider.h"
#include "providers/LibWhisperProvider.h"
#include "providers/TranscriptionModelManager.h"
#include "providers/TranscriptionProviderRouter.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr auto settleDelay = 100ms;  // between the cancel of a transcription and the start of the next one
constexpr qint64 hashBlockBytes = 1 << 20;
constexpr double expectedFailureSampleRate = 0.05;

const QString openAIKeyName = QStringLiteral("openAIAPIKey");
const QString groqKeyName = QStringLiteral("groqAPIKey");
const QString fireworksKeyName = QStringLiteral("fireworksAPIKey");
const QString useOpenAIName = QStringLiteral("useOpenAITranscription");

qint64 wholeMilliseconds(Duration duration) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
}

QString modelTextOf(const ModePtr& mode) {
  return mode && mode->model ? *mode->model : QStringLiteral("base");
}

bool isCloudText(const QString& model) {
  return model.toLower() == QLatin1String("cloud");
}

std::optional<QString> languageOf(const ModePtr& mode) {
  if (!mode || !mode->language) return std::nullopt;
  const QString language = mode->language->toLower();
  if (language.isEmpty() || language == QLatin1String("auto")) return std::nullopt;
  return language;
}

PostProcessingMode postProcessingModeOf(const ModePtr& mode) {
  if (!mode) return PostProcessingMode::off;
  return postProcessingModeFromRaw(mode->postProcessingMode.value_or(0)).value_or(PostProcessingMode::off);
}

QString textOf(PostProcessingMode mode) {
  switch (mode) {
    case PostProcessingMode::off:
      return QStringLiteral("off");
    case PostProcessingMode::cloud:
      return QStringLiteral("cloud");
    case PostProcessingMode::local:
      break;
  }
  return QStringLiteral("local");
}

QString postProcessingProviderOf(const ModePtr& mode, PostProcessingMode value) {
  if (value == PostProcessingMode::local) return rawValue(PostProcessingProvider::localGemma);
  if (mode && mode->postProcessingProvider) return *mode->postProcessingProvider;
  return rawValue(value == PostProcessingMode::cloud ? PostProcessingProvider::quillmere
                                                     : PostProcessingProvider::openai);
}

// The decimal text of a 64-bit hash of the file's bytes; nothing for a file that cannot be read.
std::optional<QString> fileHashText(const QString& path, const StopFlag& stop) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) return std::nullopt;
  QCryptographicHash hash(QCryptographicHash::Blake2b_160);
  QByteArray block(hashBlockBytes, Qt::Uninitialized);
  while (!stop.isSet()) {
    const qint64 count = file.read(block.data(), block.size());
    if (count < 0) return std::nullopt;
    if (count == 0) return QString::number(qFromLittleEndian<quint64>(hash.result().constData()));
    hash.addData(QByteArrayView(block.constData(), count));
  }
  return std::nullopt;
}

}  // namespace

struct TranscriptionPipeline::WorkingRecord {
  QString actualProvider = QStringLiteral("Unknown");
  QString modelString;
  bool useCloud = false;
  QString language = QStringLiteral("auto");
  QString postProcessingMode = QStringLiteral("off");
  QString postProcessingProvider = QStringLiteral("unknown");
  bool shouldRunPostProcessing = false;
  bool isQuillmereTranscription = false;
  TimePoint startTime;
  TimePoint stageStartTime;
  QString currentStage = QStringLiteral("start");
  QStringList stageTimeline;
  bool isRunning = true;
  bool wasCancelled = false;
};

TranscriptionPipeline::TranscriptionPipeline(TranscriptionPipelineServices services, const Logging& logging)
    : services_(std::move(services)),
      logger_(logging.logger(QStringLiteral("TranscriptionPipeline"))),
      scope_(services_.executor) {
  services_.modelCoordinator.setOnStateChange([this](const TranscriptionState& state) {
    // What a model load says must not hide a transcription that began meanwhile.
    if (currentRecord_ && currentRecord_->isRunning) return;
    state_.set(state);
  });
  const QString key = openAIAPIKey();
  if (services_.settingsManager != nullptr && !key.isEmpty())
    services_.providerCoordinator.configureCloudEngine(CloudProvider::openai, key);
  logger_.info("TranscriptionPipeline initialized - OpenAI configured: %{bool,public}d, Use OpenAI: %{bool,public}d",
               !key.isEmpty(), useOpenAITranscription());
}

TranscriptionPipeline::~TranscriptionPipeline() {
  services_.modelCoordinator.setOnStateChange({});
  setAIPostProcessor(nullptr);
}

Subscription TranscriptionPipeline::observeState(std::function<void(const TranscriptionState&)> observer) {
  return state_.observe(std::move(observer));
}

QString TranscriptionPipeline::openAIAPIKey() const {
  return services_.defaults.value(openAIKeyName).toString();
}
QString TranscriptionPipeline::groqAPIKey() const {
  return services_.defaults.value(groqKeyName).toString();
}
QString TranscriptionPipeline::fireworksAPIKey() const {
  return services_.defaults.value(fireworksKeyName).toString();
}
bool TranscriptionPipeline::useOpenAITranscription() const {
  return services_.defaults.value(useOpenAIName).toBool();
}

void TranscriptionPipeline::updateAPIKey(const QString& key) {
  services_.defaults.setValue(openAIKeyName, key);
  if (!key.isEmpty()) services_.providerCoordinator.configureCloudEngine(CloudProvider::openai, key);
  services_.defaults.setValue(useOpenAIName, !key.isEmpty());
  logger_.info("API Key updated - Length: %{public}ld, OpenAI enabled: %{bool,public}d", key.size(), !key.isEmpty());
}

void TranscriptionPipeline::setAIPostProcessor(AIPostProcessing* postProcessor) {
  if (aiPostProcessor_ != nullptr) aiPostProcessor_->setCallbacks({});
  aiPostProcessor_ = postProcessor;
  if (aiPostProcessor_ == nullptr || services_.appState == nullptr) return;
  AppState* const appState = services_.appState;
  PostProcessingCallbacks callbacks;
  callbacks.onStreamingStateChange = [appState](bool isStreaming) {
    appState->update([&](AppStateData& data) { data.isStreaming = isStreaming; });
  };
  callbacks.onStreamingTextUpdate = [appState](const QString& text) {
    appState->update([&](AppStateData& data) { data.streamingText = text; });
  };
  callbacks.onPostProcessingError = [appState](const TranscriptionError& error) {
    appState->showTranscriptionError(error);
  };
  aiPostProcessor_->setCallbacks(std::move(callbacks));
}

Task<void> TranscriptionPipeline::prepareModel(ModePtr mode) {
  return services_.modelCoordinator.prepareModel(std::move(mode), state_.get(), this);
}

void TranscriptionPipeline::refreshAvailableModels() {
  services_.modelCoordinator.checkAvailableModels();
  availableModels_.set(services_.modelCoordinator.availableModels().get());
  selectedModel_.set(services_.modelCoordinator.selectedModel().get());
}

void TranscriptionPipeline::cancelTranscription() {
  if (currentRecord_ && currentRecord_->isRunning) currentRecord_->wasCancelled = true;
  currentTask_.cancel();
  currentTask_ = {};
  if (state_.get().is<TranscriptionState::Transcribing>()) state_.set({TranscriptionState::Idle{}});
  if (services_.localProvider != nullptr) services_.localProvider->cancel();
}

void TranscriptionPipeline::setState(const WorkingRecord& record, TranscriptionState state) {
  if (currentRecord_.get() == &record && !record.wasCancelled) state_.set(std::move(state));
}

Task<Result<TranscriptionResult, AnyError>> TranscriptionPipeline::transcribeWithDetails(TranscriptionRequest request) {
  const auto previous = std::exchange(currentRecord_, std::make_shared<WorkingRecord>());
  const auto record = currentRecord_;
  if (previous && previous->isRunning) previous->wasCancelled = true;

  const TranscriptionState found = state_.get();
  if (found.is<TranscriptionState::Transcribing>() || found.is<TranscriptionState::PostProcessing>()) {
    logger_.info("Cancelling previous transcription to start new one (was in state: %s)", found.text());
    currentTask_.cancel();
    if (services_.localProvider != nullptr) services_.localProvider->cancel();
    try {
      co_await sleepFor(settleDelay);
    } catch (const Cancelled&) {
      finish(*record, {TranscriptionState::Idle{}});
      throw;
    }
    if (record->wasCancelled) {  // by cancelTranscription() or by a call that is newer still
      finish(*record, {TranscriptionState::Idle{}});
      throw Cancelled{};
    }
    setState(*record, {TranscriptionState::Idle{}});
  }
  currentTask_.cancel();
  setState(*record, {TranscriptionState::Transcribing{QStringLiteral("Starting..."), 0.0F}});

  record->modelString = modelTextOf(request.mode);
  record->useCloud = isCloudText(record->modelString);
  record->startTime = services_.executor.now();
  record->stageStartTime = record->startTime;

  auto work = run(request, record);
  currentTask_ = scope_.spawn(std::move(work));
  auto joining = currentTask_.join();
  std::optional<Result<TranscriptionResult, AnyError>> outcome;
  try {
    outcome.emplace(co_await std::move(joining));
  } catch (const Cancelled&) {
    finish(*record, {TranscriptionState::Idle{}});
    throw;
  }
  if (record->wasCancelled) {  // whatever the engine made of being cancelled
    finish(*record, {TranscriptionState::Idle{}});
    throw Cancelled{};
  }
  if (*outcome) {
    lastTranscription_ = outcome->value();
    finish(*record, {TranscriptionState::Idle{}});
  } else {
    finish(*record, {TranscriptionState::Error{localizedDescription(outcome->error())}});
    reportFailure(*record, request, outcome->error());
  }
  co_return std::move(*outcome);
}

void TranscriptionPipeline::finish(WorkingRecord& record, TranscriptionState state) {
  record.isRunning = false;
  if (currentRecord_.get() == &record) state_.set(std::move(state));
}

void TranscriptionPipeline::markStage(WorkingRecord& record, const QString& name) {
  const TimePoint now = services_.executor.now();
  const qint64 totalMs = wholeMilliseconds(now - record.startTime);
  record.stageTimeline.append(QStringLiteral("%1=%2ms@%3ms")
                                  .arg(record.currentStage)
                                  .arg(wholeMilliseconds(now - record.stageStartTime))
                                  .arg(totalMs));
  record.currentStage = name;
  record.stageStartTime = now;
  if (services_.errorReporting == nullptr || !services_.errorReporting->isEnabled()) return;
  Breadcrumb breadcrumb;
  breadcrumb.message = QStringLiteral("transcription_stage");
  breadcrumb.category = QStringLiteral("transcription");
  breadcrumb.level = ReportLevel::info;
  breadcrumb.data.insert(QStringLiteral("stage"), name);
  breadcrumb.data.insert(QStringLiteral("totalMs"), totalMs);
  services_.errorReporting->addBreadcrumb(breadcrumb);
}

Task<Result<TranscriptionResult, AnyError>> TranscriptionPipeline::run(TranscriptionRequest request,
                                                                       std::shared_ptr<WorkingRecord> record) {
  const ModePtr mode = request.mode;

  markStage(*record, QStringLiteral("fetch_vocabulary"));
  auto vocabulary = services_.persistence.fetchAllVocabularyItems();

  markStage(*record, QStringLiteral("select_provider"));
  auto selecting = services_.providerCoordinator.selectProvider(mode);
  auto selected = co_await std::move(selecting);
  if (!selected) co_return Failed{std::move(selected).error()};
  TranscriptionProvider& provider = **selected;
  record->actualProvider = provider.name();
  record->modelString = modelTextOf(mode);
  record->useCloud = isCloudText(record->modelString);
  setState(*record, {TranscriptionState::Transcribing{provider.name(), 0.1F}});

  const auto language = languageOf(mode);
  record->language = language.value_or(QStringLiteral("auto"));
  markStage(*record, QStringLiteral("transcribe"));
  auto transcribing = provider.transcribe(request.audioPath, language, mode, vocabulary);
  auto transcribed = co_await std::move(transcribing);
  if (!transcribed) co_return Failed{std::move(transcribed).error()};
  const QString rawText = std::move(transcribed).value();

  std::optional<QString> aiEnhancedText;
  if (const auto* hosted = dynamic_cast<const HostedTranscriptionProvider*>(&provider)) {
    record->isQuillmereTranscription = true;
    aiEnhancedText = hosted->aiEnhancedText();
    if (aiEnhancedText)
      logger_.info("🔄 Quillmere Cloud returned AI-enhanced text · chars=%{public}ld", aiEnhancedText->size());
  }

  const PostProcessingMode postProcessingMode = postProcessingModeOf(mode);
  const bool needsPostProcessing = postProcessingMode != PostProcessingMode::off;
  record->postProcessingMode = textOf(postProcessingMode);
  record->postProcessingProvider = postProcessingProviderOf(mode, postProcessingMode);
  const auto postProcessingProvider = fromRawValue<PostProcessingProvider>(record->postProcessingProvider);
  const bool isDoneByService = postProcessingProvider == PostProcessingProvider::quillmere &&
                               record->isQuillmereTranscription && aiEnhancedText.has_value();
  record->shouldRunPostProcessing = needsPostProcessing && !isDoneByService;

  if (record->shouldRunPostProcessing) {
    markStage(*record, QStringLiteral("post_processing_health_check"));
    auto checking = services_.providerCoordinator.checkPostProcessingHealth(mode);
    auto healthy = co_await std::move(checking);
    if (!healthy) co_return Failed{std::move(healthy).error()};
  }
  logPostProcessingCheck(*record, mode, needsPostProcessing, static_cast<int>(postProcessingMode));

  QString finalText = rawText;
  if (aiEnhancedText) {
    finalText = services_.vocabularyProcessor.apply(*aiEnhancedText);
    logger_.info("✅ Using Quillmere Cloud AI-enhanced text with vocabulary replacements applied");
  } else if (record->shouldRunPostProcessing) {
    setState(*record, {TranscriptionState::PostProcessing{}});
    if (services_.appState != nullptr)
      services_.appState->update([](AppStateData& data) { data.recordingState = {RecordingState::PostProcessing{}}; });
    markStage(*record, QStringLiteral("post_processing"));
    if (aiPostProcessor_ == nullptr) {
      logger_.error("⚠️ Post-processing needed but aiPostProcessor is nil! Check initialization.");
    } else {
      logger_.info("✅ Starting AI post-processing with provider: %{public}s",
                   postProcessingProvider ? displayName(*postProcessingProvider) : record->postProcessingProvider);
      PostProcessingRequest rewrite;
      rewrite.text = rawText;
      rewrite.mode = mode;
      rewrite.vocabulary = std::move(vocabulary);
      rewrite.developerModeEnabled =
          services_.settingsManager != nullptr && services_.settingsManager->developerMode().enableDeveloperMode();
      rewrite.developerToolActive = services_.fileTagsApply && services_.fileTagsApply();
      rewrite.applicationContext = request.applicationContext;
      rewrite.selectedText = request.selectedText;
      auto rewriting = aiPostProcessor_->postProcessStreaming(std::move(rewrite));
      auto rewritten = co_await std::move(rewriting);
      if (!rewritten) co_return Failed{std::move(rewritten).error()};
      finalText = std::move(rewritten).value();
    }
    finalText = services_.vocabularyProcessor.apply(finalText);
  } else if (needsPostProcessing) {
    logger_.info("ℹ️ Post-processing handled by Quillmere Cloud; skipping client-side step");
  } else {
    logger_.info("ℹ️ Post-processing skipped (mode setting = %hd or nil mode)", mode ? 0 : -1);
  }

  markStage(*record, QStringLiteral("cache_result"));
  auto hash = [path = request.audioPath](const StopFlag& stop) { return fileHashText(path, stop); };
  auto hashing = offload(services_.fileWorker, std::move(hash));
  const std::optional<QString> cacheKey = co_await std::move(hashing);
  if (cacheKey) cache_.store(*cacheKey, finalText);

  markStage(*record, QStringLiteral("finalize"));
  TranscriptionResult result;
  result.id = QUuid::createUuid();
  result.text = finalText;
  result.rawText = rawText;
  result.timestamp = services_.clock.now();
  result.mode = mode;
  result.provider = provider.name();
  result.wasPostProcessed = aiEnhancedText.has_value() || record->shouldRunPostProcessing;
  if (aiEnhancedText)
    result.postProcessingProvider = rawValue(PostProcessingProvider::quillmere);
  else if (record->shouldRunPostProcessing)
    result.postProcessingProvider = record->postProcessingProvider;
  co_return result;
}

void TranscriptionPipeline::logPostProcessingCheck(const WorkingRecord& record, const ModePtr& mode,
                                                   bool needsPostProcessing, int postProcessingMode) const {
  const QString nil = QStringLiteral("nil");
  logger_.debug("🔍 Post-processing check:");
  logger_.debug("  - Mode name: %s", mode ? mode->name.value_or(nil) : nil);
  logger_.debug("  - Preset: %s", mode ? mode->preset.value_or(nil) : nil);
  logger_.debug("  - postProcessingMode value: %hd (0=off, 1=cloud, 2=local)", postProcessingMode);
  logger_.debug("  - needsPostProcessing: %{bool}d", needsPostProcessing);
  logger_.debug("  - aiPostProcessor exists: %{bool}d", aiPostProcessor_ != nullptr);
  logger_.debug("  - resolved postProcessingProvider: %s", record.postProcessingProvider);
  logger_.debug("  - shouldRunPostProcessing: %{bool}d", record.shouldRunPostProcessing);
}

void TranscriptionPipeline::reportFailure(WorkingRecord& record, const TranscriptionRequest& request,
                                          const AnyError& error) {
  if (services_.errorReporting == nullptr || !services_.errorReporting->isEnabled()) return;
  const ErrorClassification classification = classify(error);
  const TimePoint now = services_.executor.now();
  const qint64 stageElapsedMs = wholeMilliseconds(now - record.stageStartTime);
  const qint64 totalElapsedMs = wholeMilliseconds(now - record.startTime);
  record.stageTimeline.append(
      QStringLiteral("%1=%2ms@%3ms (failed)").arg(record.currentStage).arg(stageElapsedMs).arg(totalElapsedMs));

  const QString nil = QStringLiteral("nil");
  const QFileInfo file(request.audioPath);
  const bool isReadable = file.isReadable();
  const auto sessionId = request.recordingSession ? request.recordingSession->id : std::nullopt;
  ReportOptions options;
  options.message = QStringLiteral("TranscriptionPipeline.transcribeWithDetails failed");
  options.extra = {
      {QStringLiteral("actualProvider"), record.actualProvider},
      {QStringLiteral("modelString"), record.modelString},
      {QStringLiteral("useCloud"), record.useCloud},
      {QStringLiteral("modeName"), request.mode ? request.mode->name.value_or(nil) : nil},
      {QStringLiteral("language"), record.language},
      {QStringLiteral("postProcessingMode"), record.postProcessingMode},
      {QStringLiteral("postProcessingProvider"), record.postProcessingProvider},
      {QStringLiteral("shouldRunPostProcessing"), record.shouldRunPostProcessing},
      {QStringLiteral("isQuillmereTranscription"), record.isQuillmereTranscription},
      {QStringLiteral("audioFilePath"), request.audioPath},
      {QStringLiteral("fileExists"), file.exists()},
      {QStringLiteral("fileReadable"), isReadable},
      {QStringLiteral("fileSizeBytes"), file.exists() ? file.size() : qint64(-1)},
      {QStringLiteral("fileExtension"), file.suffix()},
      {QStringLiteral("usedCAFFallback"), file.suffix().toLower() == QLatin1String("caf")},
      {QStringLiteral("errorType"), errorTypeName(error)},
      {QStringLiteral("errorDomain"), errorDomain(error)},
      {QStringLiteral("errorCode"), errorCode(error)},
      {QStringLiteral("errorCategory"), classification.category},
      {QStringLiteral("errorKind"), classification.code},
      {QStringLiteral("errorRetryable"), classification.isRetryable},
      {QStringLiteral("errorStage"), record.currentStage},
      {QStringLiteral("stageElapsedMs"), stageElapsedMs},
      {QStringLiteral("totalElapsedMs"), totalElapsedMs},
      {QStringLiteral("stageTimeline"), record.stageTimeline},
      {QStringLiteral("transcriptionState"), state_.get().text()},
      {QStringLiteral("recordingSessionID"), sessionId ? sessionId->toString(QUuid::WithoutBraces) : nil},
  };
  if (classification.httpStatus) options.extra.insert(QStringLiteral("errorHttpStatus"), *classification.httpStatus);
  options.tags = {{QStringLiteral("component"), QStringLiteral("transcription")},
                  {QStringLiteral("error_class"), classification.category},
                  {QStringLiteral("error_stage"), record.currentStage}};
  if (classification.code == QLatin1String("no_speech_detected")) {
    options.tags.insert(QStringLiteral("expected"), QStringLiteral("true"));
    options.level = ReportLevel::info;
    options.sampleRate = expectedFailureSampleRate;
  }
  services_.errorReporting->captureError(error, options);
}

}  // namespace quillmere
