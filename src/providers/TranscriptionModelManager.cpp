#include "providers/TranscriptionModelManager.h"

#include <algorithm>
#include <chrono>

#include "base/async/Await.h"
#include "base/async/CancelToken.h"
#include "base/text/LocalizedText.h"
#include "domain/ModeTypes.h"
#include "ports/ErrorReporting.h"
#include "providers/GemmaRuntime.h"
#include "providers/LibWhisperProvider.h"
#include "providers/ParakeetEngine.h"
#include "providers/Transcriber.h"
#include "providers/UserNotices.h"
#include "storage/PersistenceController.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr auto baseRetryDelay = 500ms;

bool isEnglish(const ModePtr& mode) {
  const QString language = mode && mode->language ? mode->language->toLower() : QString();
  return language == QLatin1String("en") || language.startsWith(QLatin1String("en-"));
}

}  // namespace

TranscriptionModelManager::TranscriptionModelManager(TranscriptionModelServices services,
                                                     PersistenceController& persistence, QString modelsDirectory,
                                                     int processorCount, const Logging& logging)
    : services_(services),
      persistence_(persistence),
      modelsDirectory_(std::move(modelsDirectory)),
      processorCount_(processorCount),
      logger_(logging.logger(QStringLiteral("TranscriptionModelManager"))) {}

// How a load ended. A cancel is told from a failure, since it is shown as a return to rest.
struct TranscriptionModelManager::LoadOutcome {
  bool isCancelled = false;
  std::optional<AnyError> error;
};

Task<TranscriptionModelManager::LoadOutcome> TranscriptionModelManager::loadQuietly(QString modelName,
                                                                                    bool englishOnly) {
  LoadOutcome outcome;
  LibWhisperProvider* const local = services_.localProvider;
  if (local == nullptr) co_return outcome;
  const auto model = fromRawValue<WhisperModel>(modelName);
  try {
    auto loading = model ? local->load(*model, englishOnly) : local->loadModel(modelName);
    auto loaded = co_await std::move(loading);
    if (!loaded) outcome.error = std::move(loaded).error();
  } catch (const Cancelled&) {
    outcome.isCancelled = true;
  }
  co_return outcome;
}

void TranscriptionModelManager::tellState(TranscriptionState state) const {
  if (onStateChange_) onStateChange_(state);
}

Task<void> TranscriptionModelManager::prepareModel(ModePtr mode, TranscriptionState state, Transcriber* pipeline) {
  if (state.is<TranscriptionState::Transcribing>()) {
    logger_.info("Model preparation cancelled, transcription in progress.");
    co_return;
  }
  if (pipeline != nullptr) pipeline->cancelTranscription();

  const QString modelText = mode && mode->model ? *mode->model : QString();
  const QString lowered = modelText.toLower();
  if (lowered.isEmpty() || lowered == QLatin1String("cloud")) {
    auto preloading = preloadBase(false);
    co_await std::move(preloading);
    co_return;
  }
  LibWhisperProvider* const local = services_.localProvider;
  if (!fromRawValue<WhisperModel>(modelText) && local != nullptr && local->isDownloaded(modelText)) {
    auto switching = switchModel(modelText, mode);
    co_await std::move(switching);
    co_return;
  }
  if (lowered.startsWith(QLatin1String("parakeet-tdt-")) && services_.parakeet != nullptr) {
    logger_.info("Preparing Parakeet model for mode selection: %s", modelText);
    services_.parakeet->refresh();
    try {
      auto preparing = services_.parakeet->prepare(modelText);
      const auto prepared = co_await std::move(preparing);
      if (!prepared)
        logger_.error("Failed to prepare Parakeet provider: %{public}s", localizedDescription(prepared.error()));
    } catch (const Cancelled&) {
      logger_.info("Model switch cancelled");
    }
    co_return;
  }
  if (const auto model = lenientWhisperModel(modelText)) {
    auto switching = switchModel(rawValue(*model), mode);
    co_await std::move(switching);
    co_return;
  }
  logger_.warning("Could not map model ID to WhisperModel: %{public}s", modelText);
}

Task<void> TranscriptionModelManager::switchModel(QString modelName, ModePtr mode) {
  logger_.info("Switching to offline model: %{public}s (mode: %{public}s)", modelName,
               mode && mode->name ? *mode->name : QStringLiteral("Default"));
  tellState({TranscriptionState::Idle{}});
  const bool englishOnly = isEnglish(mode);

  auto loading = loadQuietly(modelName, englishOnly);
  const LoadOutcome outcome = co_await std::move(loading);
  if (outcome.isCancelled) {
    logger_.info("Model switch cancelled");
    tellState({TranscriptionState::Idle{}});
    co_return;
  }
  if (!outcome.error) {
    tellState({TranscriptionState::Idle{}});
    logger_.info("Model %{public}s ready for transcription", modelName);
    co_return;
  }
  logger_.error("Failed to load model %{public}s: %{public}s. Falling back to base…", modelName,
                localizedDescription(*outcome.error));
  tellState({TranscriptionState::Error{QStringLiteral("Failed to load ") + modelName +
                                       QStringLiteral(". Using base model.")}});
  if (services_.errorReporting != nullptr && services_.errorReporting->isEnabled()) {
    ReportOptions options;
    options.message = QStringLiteral("Model switch failed");
    options.extra.insert(QStringLiteral("target"), modelName);
    services_.errorReporting->captureError(*outcome.error, options);
  }
  if (modelName != rawValue(WhisperModel::base)) {
    auto preloading = preloadBase(englishOnly);
    co_await std::move(preloading);
  }
}

Task<void> TranscriptionModelManager::preloadBase(bool englishOnly) {
  logger_.info("Preloading base model (cloud/no-mode fallback)");
  tellState({TranscriptionState::Idle{}});
  const QString base = rawValue(WhisperModel::base);
  for (int attempt = 1; attempt <= 2; ++attempt) {
    auto loading = loadQuietly(base, englishOnly);
    const LoadOutcome outcome = co_await std::move(loading);
    if (outcome.isCancelled) {
      logger_.info("Base preload cancelled");
      tellState({TranscriptionState::Idle{}});
      co_return;
    }
    if (!outcome.error) {
      if (attempt == 1) tellState({TranscriptionState::Idle{}});
      logger_.info("%{public}s", attempt == 1 ? "Base model ready for transcription" : "Base model ready after retry");
      co_return;
    }
    const QString description = localizedDescription(*outcome.error);
    if (attempt == 2) {
      logger_.error("Base preload failed after retry: %{public}s", description);
      tellState({TranscriptionState::Error{QStringLiteral("Failed to load base model: ") + description}});
      co_return;
    }
    logger_.warning("Failed to preload base: %{public}s. Retrying once…", description);
    try {
      co_await sleepFor(baseRetryDelay);
    } catch (const Cancelled&) {
      co_return;
    }
    tellState({TranscriptionState::Idle{}});
  }
}

void TranscriptionModelManager::checkAvailableModels() {
  LibWhisperProvider* const local = services_.localProvider;
  if (local == nullptr) {
    logger_.info("Skipping model scan - provider not yet initialized");
    return;
  }
  logger_.info("🔍 Checking available models...");
  logger_.debug("Models folder: %s", modelsDirectory_);
  std::vector<WhisperModel> found;
  QStringList names;
  for (const WhisperModel model : allCases<WhisperModel>()) {
    const bool isDownloaded = local->isDownloaded(rawValue(model));
    logger_.debug("   Model %s: %s", rawValue(model), isDownloaded ? "✓" : "✗");
    if (!isDownloaded) continue;
    found.push_back(model);
    names.append(rawValue(model));
  }
  availableModels_.set(found);
  if (found.empty()) {
    logger_.warning("⚠️ No Whisper models available (no automatic cloud fallback)");
  } else {
    local->setModel(found.front());
    logger_.info("🎯 Set default model to: %s", rawValue(found.front()));
  }
  logger_.info("📦 Available models: %{public}s", names.join(QLatin1String(", ")));
}

Task<void> TranscriptionModelManager::ensureGemmaRuntime(ModePtr mode) {
  GemmaRuntime* const runtime = services_.gemmaRuntime;
  if (runtime == nullptr) co_return;
  if (!mode) {
    runtime->stop(GemmaStopReason::modeChanged);
    co_return;
  }
  const QString provider = mode->postProcessingProvider.value_or(rawValue(PostProcessingProvider::localGemma));
  if (mode->postProcessingMode.value_or(0) != static_cast<int>(PostProcessingMode::local) ||
      fromRawValue<PostProcessingProvider>(provider) != PostProcessingProvider::localGemma) {
    runtime->stop(GemmaStopReason::providerDisabled);
    co_return;
  }

  GemmaServerConfiguration configuration;
  configuration.threads = std::max(1, processorCount_ - 1);
  auto ensuring = runtime->ensureRunning(mode->languageModel, configuration);
  const auto ensured = co_await std::move(ensuring);
  if (ensured) co_return;
  const GemmaError& error = ensured.error();
  QString toast;
  switch (error.kind) {
    case GemmaError::Kind::executableNotFound:
      logger_.error("Gemma runtime executable missing");
      toast = localizedText("gemma.runtime.missing");
      break;
    case GemmaError::Kind::modelNotFound:
      logger_.error("Local Gemma selected but no weights are installed");
      runtime->stop(GemmaStopReason::modelMissing);
      co_return;
    case GemmaError::Kind::healthCheckFailed:
      logger_.error("Gemma runtime failed health check");
      toast = localizedText("gemma.runtime.healthFailed");
      break;
    case GemmaError::Kind::launchFailed:
      logger_.error("%{public}s", error.text);
      toast = localizedText("gemma.runtime.launchFailed");
      break;
    case GemmaError::Kind::other:
      logger_.error("Unexpected Gemma runtime error: %{public}s", error.text);
      toast = localizedText("gemma.runtime.genericError", error.text);
      break;
  }
  if (services_.notices != nullptr) services_.notices->showToast(toast, false);
}

Task<void> TranscriptionModelManager::ensureGemmaRuntime(QString modeId) {
  const QUuid id = QUuid::fromString(modeId);
  ModePtr mode;
  if (!id.isNull()) mode = persistence_.fetchMode(id);
  return ensureGemmaRuntime(std::move(mode));
}

}  // namespace quillmere
