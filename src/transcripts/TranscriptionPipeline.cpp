#include "transcripts/TranscriptionPipeline.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QtEndian>

#include "base/async/Await.h"
#include "base/async/Offload.h"
#include "ports/ErrorReporting.h"
#include "postprocessing/AIPostProcessing.h"
#include "postprocessing/VocabularyProcessor.h"
#include "postprocessing/VocabularyReplacement.h"
#include "providers/TranscriptionModelManager.h"
#include "providers/TranscriptionProviderRouter.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "transcripts/TranscriptionReport.h"

namespace quillmere {
namespace {

constexpr qint64 hashBlockBytes = 1 << 20;

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

// One call of the pipeline, for as long as it runs: its part of the published state.
class TranscriptionPipeline::Call {
 public:
  explicit Call(TranscriptionPipeline& pipeline) : pipeline_(pipeline) {
    pipeline_.calls_.push_back(this);
    set({TranscriptionState::Transcribing{QStringLiteral("Starting..."), 0.0F}});
  }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
  ~Call() {
    std::erase(pipeline_.calls_, this);
    pipeline_.state_.set(pipeline_.calls_.empty() ? end_ : pipeline_.calls_.back()->state_);
  }

  void set(TranscriptionState state) {
    state_ = std::move(state);
    if (pipeline_.calls_.back() == this) pipeline_.state_.set(state_);
  }
  void endsWith(const AnyError& error) { end_ = {TranscriptionState::Error{localizedDescription(error)}}; }

 private:
  TranscriptionPipeline& pipeline_;
  TranscriptionState state_;
  TranscriptionState end_;
};

TranscriptionPipeline::TranscriptionPipeline(TranscriptionPipelineServices services, const Logging& logging)
    : services_(std::move(services)),
      logger_(logging.logger(QStringLiteral("TranscriptionPipeline"))),
      scope_(services_.executor) {
  // What a model load says must not hide a transcription.
  services_.modelCoordinator.setOnStateChange([this](const TranscriptionState& state) {
    if (calls_.empty()) state_.set(state);
  });
}

TranscriptionPipeline::~TranscriptionPipeline() {
  services_.modelCoordinator.setOnStateChange({});
}

Subscription TranscriptionPipeline::observeState(std::function<void(const TranscriptionState&)> observer) {
  return state_.observe(std::move(observer));
}

Task<Result<TranscriptionResult, AnyError>> TranscriptionPipeline::transcribeWithDetails(TranscriptionRequest request) {
  Call call(*this);
  const ModePtr mode = request.mode;
  if (mode) request.mode = std::make_shared<Mode>(*mode);  // an editor may change it meanwhile
  TranscriptionReport report(request.mode, services_.executor.now());
  auto outcome = co_await run(request, call, report);
  if (outcome) {
    outcome->mode = mode;
    // Its hash takes a while on a long file, and nobody waits for it.
    scope_.spawn(remember(request.audioPath, outcome->text));
  } else {
    call.endsWith(outcome.error());
    reportFailure(report, request, outcome.error());
  }
  co_return outcome;
}

void TranscriptionPipeline::markStage(TranscriptionReport& report, const char* name) {
  const Breadcrumb breadcrumb = report.markStage(QString::fromLatin1(name), services_.executor.now());
  if (services_.errorReporting != nullptr && services_.errorReporting->isEnabled())
    services_.errorReporting->addBreadcrumb(breadcrumb);
}

Task<Result<TranscriptionResult, AnyError>> TranscriptionPipeline::run(const TranscriptionRequest& request, Call& call,
                                                                       TranscriptionReport& report) {
  const ModePtr& mode = request.mode;
  TranscriptionResult result;

  markStage(report, "fetch_vocabulary");
  auto vocabulary = services_.persistence.fetchAllVocabularyItems();

  markStage(report, "select_provider");
  CO_TRY(const auto chosen, co_await services_.providerCoordinator.selectProvider(mode));
  result.provider = report.actualProvider = chosen.provider->name();
  const bool isHosted = report.isQuillmereTranscription = chosen.service == CloudProvider::quillmere;
  call.set({TranscriptionState::Transcribing{result.provider, 0.1F}});

  SpeechRequest speech;
  speech.audioPath = request.audioPath;
  speech.model = chosen.model;
  speech.language = languageOf(mode);
  if (mode) speech.mode = *mode;
  speech.vocabulary = vocabularyForPrompt(vocabulary);
  speech.service = chosen.service.value_or(CloudProvider::openai);
  speech.apiKey = chosen.apiKey;
  speech.onProgress = request.onProgress;
  report.language = speech.language.value_or(QStringLiteral("auto"));
  markStage(report, "transcribe");
  result.timings.decodingBegan = services_.executor.now();
  CO_TRY(const auto answer, co_await chosen.provider->transcribe(std::move(speech)));
  result.timings.decodingBegan = answer.begin.value_or(result.timings.decodingBegan);
  result.timings.decoding = services_.executor.now() - result.timings.decodingBegan;
  const std::optional<QString>& rewrittenByService = answer.rewrittenText;
  if (rewrittenByService)
    logger_.info("🔄 Quillmere Cloud returned AI-enhanced text · chars=%{public}ld", rewrittenByService->size());

  const Rewriting rewriting = rewritingOf(mode, isHosted, rewrittenByService.has_value());
  report.postProcessingMode = textOf(rewriting.mode);
  report.postProcessingProvider = rewriting.provider;
  report.shouldRunPostProcessing = rewriting.isWanted;
  if (rewriting.isWanted) {
    markStage(report, "post_processing_health_check");
    CO_TRY_OK(co_await services_.providerCoordinator.checkPostProcessingHealth(mode));
  }
  logPostProcessingCheck(rewriting, mode);

  result.rawText = result.text = answer.text;
  if (rewrittenByService) {
    result.text = *rewrittenByService;
    logger_.info("✅ Using Quillmere Cloud AI-enhanced text with vocabulary replacements applied");
  } else if (rewriting.isWanted) {
    call.set({TranscriptionState::PostProcessing{}});
    if (request.onRewriting) request.onRewriting();
    markStage(report, "post_processing");
    const TimePoint begin = services_.executor.now();
    const auto provider = fromRawValue<PostProcessingProvider>(rewriting.provider);
    logger_.info("✅ Starting AI post-processing with provider: %{public}s",
                 provider ? displayName(*provider) : rewriting.provider);
    CO_TRY(result.text, co_await rewrite(request, answer.text, std::move(vocabulary)));
    result.timings.rewriting = services_.executor.now() - begin;
  } else if (rewriting.mode != PostProcessingMode::off) {
    logger_.info("ℹ️ Post-processing handled by Quillmere Cloud; skipping client-side step");
  } else {
    logger_.info("ℹ️ Post-processing skipped (mode setting = %hd or nil mode)", mode ? 0 : -1);
  }

  const bool isRewritten = rewrittenByService || (rewriting.isWanted && services_.aiPostProcessor != nullptr);
  if (isRewritten || services_.settings.applyVocabularyWithoutRewriting())
    result.text = services_.vocabularyProcessor.apply(result.text);

  markStage(report, "finalize");
  result.id = QUuid::createUuid();
  result.timestamp = services_.clock.now();
  result.wasPostProcessed = rewrittenByService.has_value() || rewriting.isWanted;
  if (rewrittenByService)
    result.postProcessingProvider = rawValue(PostProcessingProvider::quillmere);
  else if (rewriting.isWanted)
    result.postProcessingProvider = rewriting.provider;
  co_return result;
}

TranscriptionPipeline::Rewriting TranscriptionPipeline::rewritingOf(const ModePtr& mode, bool isHosted,
                                                                    bool isRewrittenByService) const {
  Rewriting rewriting;
  rewriting.mode = postProcessingModeOf(mode);
  rewriting.provider = postProcessingProviderOf(mode, rewriting.mode);
  const bool isDoneByService =
      isHosted && isRewrittenByService &&
      fromRawValue<PostProcessingProvider>(rewriting.provider) == PostProcessingProvider::quillmere;
  rewriting.isWanted = rewriting.mode != PostProcessingMode::off && !isDoneByService;
  return rewriting;
}

Task<Result<QString, AnyError>> TranscriptionPipeline::rewrite(const TranscriptionRequest& request, QString text,
                                                               std::vector<VocabularyPtr> vocabulary) {
  if (services_.aiPostProcessor == nullptr) {
    logger_.error("⚠️ Post-processing needed but aiPostProcessor is nil! Check initialization.");
    co_return text;
  }
  PostProcessingRequest rewriting;
  rewriting.text = std::move(text);
  rewriting.mode = request.mode;
  rewriting.vocabulary = std::move(vocabulary);
  rewriting.developerModeEnabled = services_.settings.developerMode().enableDeveloperMode();
  rewriting.developerToolActive = services_.fileTagsApply && services_.fileTagsApply();
  rewriting.applicationContext = request.applicationContext;
  rewriting.selectedText = request.selectedText;
  rewriting.callbacks.onStreamingTextUpdate = request.onRewrittenText;
  rewriting.callbacks.onPostProcessingError = request.onRewritingProblem;
  co_return co_await services_.aiPostProcessor->postProcessStreaming(std::move(rewriting));
}

Task<void> TranscriptionPipeline::remember(QString audioPath, QString text) {
  auto work = [audioPath](const StopFlag& stop) { return fileHashText(audioPath, stop); };
  if (const std::optional<QString> key = co_await offload(services_.fileWorker, std::move(work)))
    cache_.store(*key, text);
}

void TranscriptionPipeline::logPostProcessingCheck(const Rewriting& rewriting, const ModePtr& mode) const {
  const QString nil = QStringLiteral("nil");
  logger_.debug("🔍 Post-processing check:");
  logger_.debug("  - Mode name: %s", mode ? mode->name.value_or(nil) : nil);
  logger_.debug("  - Preset: %s", mode ? mode->preset.value_or(nil) : nil);
  logger_.debug("  - postProcessingMode value: %hd (0=off, 1=cloud, 2=local)", static_cast<int>(rewriting.mode));
  logger_.debug("  - needsPostProcessing: %{bool}d", rewriting.mode != PostProcessingMode::off);
  logger_.debug("  - aiPostProcessor exists: %{bool}d", services_.aiPostProcessor != nullptr);
  logger_.debug("  - resolved postProcessingProvider: %s", rewriting.provider);
  logger_.debug("  - shouldRunPostProcessing: %{bool}d", rewriting.isWanted);
}

void TranscriptionPipeline::reportFailure(const TranscriptionReport& report, const TranscriptionRequest& request,
                                          const AnyError& error) {
  if (services_.errorReporting == nullptr || !services_.errorReporting->isEnabled()) return;
  const QFileInfo info(request.audioPath);
  const ReportedFile file{request.audioPath, info.exists(), info.isReadable(), info.exists() ? info.size() : -1};
  const QString state = TranscriptionState{TranscriptionState::Error{localizedDescription(error)}}.text();
  services_.errorReporting->captureError(
      error, report.failure(error, file, state, request.recordingSession, services_.executor.now()));
}

}  // namespace quillmere
