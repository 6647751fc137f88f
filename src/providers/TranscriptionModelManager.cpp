#include "providers/TranscriptionModelManager.h"

#include <algorithm>
#include <chrono>

#include "base/async/Await.h"
#include "base/async/CancelToken.h"
#include "base/text/LocalizedText.h"
#include "domain/ModeTypes.h"
#include "domain/WhisperModel.h"
#include "ports/ErrorReporting.h"
#include "providers/GemmaRuntime.h"
#include "providers/LibWhisperProvider.h"
#include "providers/LocalModelChoice.h"
#include "providers/ParakeetEngine.h"
#include "providers/UserNotices.h"
#include "storage/PersistenceController.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr auto baseRetryDelay = 500ms;

std::optional<QString> languageOf(const ModePtr& mode) {
  return mode ? mode->language : std::nullopt;
}

}  // namespace

TranscriptionModelManager::TranscriptionModelManager(TranscriptionModelServices services,
                                                     PersistenceController& persistence, int processorCount,
                                                     const Logging& logging)
    : services_(services),
      persistence_(persistence),
      processorCount_(processorCount),
      logger_(logging.logger(QStringLiteral("TranscriptionModelManager"))) {}

// How a load ended. A cancel is told from a failure, since it is shown as a return to rest.
struct TranscriptionModelManager::LoadOutcome {
  bool isCancelled = false;
  std::optional<AnyError> error;
};

Task<TranscriptionModelManager::LoadOutcome> TranscriptionModelManager::loadQuietly(QString modelName) {
  LoadOutcome outcome;
  if (services_.localProvider == nullptr) co_return outcome;
  try {
    const auto loaded = co_await services_.localProvider->loadModel(modelName);
    if (!loaded) outcome.error = loaded.error();
  } catch (const Cancelled&) {
    outcome.isCancelled = true;
  }
  co_return outcome;
}

bool TranscriptionModelManager::isDownloaded(const QString& modelName) const {
  return services_.localProvider != nullptr && services_.localProvider->isDownloaded(modelName);
}

void TranscriptionModelManager::tellState(const TranscriptionState& state) const {
  if (onStateChange_) onStateChange_(state);
}

Task<void> TranscriptionModelManager::prepareModel(ModePtr mode) {
  const QString modelText = mode && mode->model ? *mode->model : QString();
  if (modelText.isEmpty() || modelText.toLower() == QLatin1String("cloud")) {
    co_await preloadBase(std::nullopt);
    co_return;
  }
  if (isParakeetModel(modelText) && services_.parakeet != nullptr && !isDownloaded(modelText)) {
    logger_.info("Preparing Parakeet model for mode selection: %s", modelText);
    services_.parakeet->refresh();
    try {
      const auto prepared = co_await services_.parakeet->prepare(modelText);
      if (!prepared)
        logger_.error("Failed to prepare Parakeet provider: %{public}s", localizedDescription(prepared.error()));
    } catch (const Cancelled&) {
      logger_.info("Model switch cancelled");
    }
    co_return;
  }
  const auto isThere = [this](const QString& name) { return isDownloaded(name); };
  if (const auto model = chooseLocalModel(modelText, languageOf(mode), isThere))
    co_await switchModel(model->name, mode);
  else
    logger_.warning("Could not map model ID to WhisperModel: %{public}s", modelText);
}

Task<void> TranscriptionModelManager::switchModel(QString modelName, ModePtr mode) {
  logger_.info("Switching to offline model: %{public}s (mode: %{public}s)", modelName,
               mode && mode->name ? *mode->name : QStringLiteral("Default"));
  tellState({TranscriptionState::Idle{}});
  const LoadOutcome outcome = co_await loadQuietly(modelName);
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
  if (modelName != rawValue(WhisperModel::base) && modelName != rawValue(WhisperModel::baseEn))
    co_await preloadBase(languageOf(mode));
}

Task<void> TranscriptionModelManager::preloadBase(std::optional<QString> language) {
  logger_.info("Preloading base model (cloud/no-mode fallback)");
  tellState({TranscriptionState::Idle{}});
  const auto isThere = [this](const QString& name) { return isDownloaded(name); };
  const auto base = chooseLocalModel(rawValue(WhisperModel::base), language, isThere);
  for (int attempt = 1; attempt <= 2; ++attempt) {
    const LoadOutcome outcome = co_await loadQuietly(base->name);
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
  const auto ensured = co_await runtime->ensureRunning(mode->languageModel, configuration);
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
