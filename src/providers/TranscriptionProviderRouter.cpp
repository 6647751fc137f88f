#include "providers/TranscriptionProviderRouter.h"

#include "ports/ErrorReporting.h"
#include "ports/NetworkStatus.h"
#include "providers/CloudTranscriptionProvider.h"
#include "providers/HostedTranscriptionProvider.h"
#include "providers/LibWhisperProvider.h"
#include "providers/ParakeetEngine.h"
#include "providers/ProviderHealthChecking.h"
#include "storage/CloudProviderAPIKeyProviding.h"

namespace quillmere {
namespace {

AnyError failure(TranscriptionError::Case kind) {
  return TranscriptionError{std::move(kind)};
}

AnyError notAvailable(const QString& provider, const char* reason) {
  return failure(TranscriptionError::ProviderNotAvailable{provider, QString::fromUtf8(reason)});
}

void tell(ErrorReporting* reporting, const char* message, ReportLevel level, const QVariantMap& data) {
  if (reporting == nullptr || !reporting->isEnabled()) return;
  reporting->captureMessage(QString::fromUtf8(message), QStringLiteral("transcription.provider"), level, data);
}

}  // namespace

TranscriptionError errorForHealth(ProviderHealth health, const QString& providerName) {
  using E = TranscriptionError;
  switch (health) {
    case ProviderHealth::unknown:
    case ProviderHealth::checking:
      return {E::ProviderNotAvailable{providerName, QStringLiteral("Provider health check failed")}};
    case ProviderHealth::healthy:
      return {E::ProviderNotAvailable{providerName, QStringLiteral("Unexpected health status")}};
    case ProviderHealth::unauthorized:
      return {E::Unauthorized{providerName}};
    case ProviderHealth::unreachable:
      return {E::NetworkError{QStringLiteral("Provider unreachable")}};
    case ProviderHealth::notInstalled:
      break;
  }
  return {E::ModelNotDownloaded{}};
}

TranscriptionProviderRouter::TranscriptionProviderRouter(TranscriptionEngines engines, const NetworkStatus& network,
                                                         ErrorReporting* errorReporting, const Logging& logging)
    : engines_(std::move(engines)),
      network_(network),
      errorReporting_(errorReporting),
      logger_(logging.logger(QStringLiteral("TranscriptionProviderRouter"))) {}

TranscriptionProviderRouter::~TranscriptionProviderRouter() = default;

Task<Result<TranscriptionProvider*, AnyError>> TranscriptionProviderRouter::selectProvider(ModePtr mode) {
  const QString modelText = mode && mode->model ? *mode->model : QStringLiteral("base");
  if (modelText.toLower() == QLatin1String("cloud")) return selectCloudProvider(std::move(mode));
  return selectLocalProvider(modelText);
}

Task<Result<TranscriptionProvider*, AnyError>> TranscriptionProviderRouter::selectCloudProvider(ModePtr mode) {
  const CloudProvider service =
      fromRawValue<CloudProvider>(mode->cloudProvider.value_or(QString())).value_or(CloudProvider::openai);
  const QString serviceName = displayName(service);
  if (engines_.apiKeys == nullptr) co_return Failed{failure(TranscriptionError::ApiKeyMissing{serviceName})};

  TranscriptionProvider* provider = nullptr;
  if (service == CloudProvider::quillmere) {
    const bool hasCreditManager = engines_.hostedFactory != nullptr && engines_.hostedFactory->hasCreditManager();
    if (!hosted_ && hasCreditManager) hosted_ = engines_.hostedFactory->makeProvider();
    if (!hosted_) {
      tell(errorReporting_, "Quillmere Cloud provider failed to initialize", ReportLevel::info,
           {{QStringLiteral("provider"), serviceName},
            {QStringLiteral("hasCreditManager"), hasCreditManager},
            {QStringLiteral("reason"), QStringLiteral("nilProvider")}});
      co_return Failed{notAvailable(serviceName, "Failed to initialize provider")};
    }
    provider = hosted_.get();
  } else {
    const QString apiKey = engines_.apiKeys->apiKey(service);
    if (apiKey.isEmpty()) co_return Failed{failure(TranscriptionError::ApiKeyMissing{serviceName})};
    configureCloudEngine(service, apiKey);
    const auto found = engines_.cloudEngines.find(service);
    if (found != engines_.cloudEngines.end()) provider = found->second;
  }

  if (engines_.health != nullptr) {
    auto asking = engines_.health->status(service);
    const ProviderHealth health = co_await std::move(asking);
    if (health != ProviderHealth::healthy) {
      logger_.warning("Cloud provider not healthy · provider=%{public}s · status=%{public}s", serviceName,
                      logText(health));
      co_return Failed{AnyError(errorForHealth(health, serviceName))};
    }
  }
  if (provider == nullptr || !provider->isAvailable()) {
    const QString providerName = provider == nullptr ? serviceName : provider->name();
    logger_.error("❌ Provider not available: %s", providerName);
    tell(errorReporting_, "Provider isAvailable check failed", ReportLevel::error,
         {{QStringLiteral("provider"), providerName},
          {QStringLiteral("cloudProviderType"), rawValue(service)},
          {QStringLiteral("isAvailable"), false},
          {QStringLiteral("reason"), QStringLiteral("isAvailableReturnedFalse")}});
    co_return Failed{notAvailable(providerName, "Provider is not configured or ready")};
  }
  if (!network_.isOnline())
    co_return Failed{failure(TranscriptionError::NetworkError{QStringLiteral("No internet connection")})};
  co_return provider;
}

Task<Result<TranscriptionProvider*, AnyError>> TranscriptionProviderRouter::selectLocalProvider(QString modelText) {
  LibWhisperProvider* const local = engines_.localProvider;
  if (local == nullptr) {
    logger_.error("Local provider unavailable");
    co_return Failed{notAvailable(QStringLiteral("Local Whisper"), "Local provider not initialized")};
  }

  // A file of the user's own is found by its exact name, before a rule can take the name for another model's.
  if (!fromRawValue<WhisperModel>(modelText) && local->isDownloaded(modelText)) {
    local->setModel(modelText);
    logger_.info("✅ Model set to: %s", modelText);
    co_return static_cast<TranscriptionProvider*>(local);
  }

  if (const auto model = lenientWhisperModel(modelText)) {
    if (!local->isDownloaded(rawValue(*model))) {
      logger_.error("Local model not downloaded: %{public}s", rawValue(*model));
      co_return Failed{failure(TranscriptionError::ModelNotDownloaded{})};
    }
    local->setModel(*model);
    logger_.info("✅ Model set to: %s", rawValue(*model));
    co_return static_cast<TranscriptionProvider*>(local);
  }

  if (ParakeetEngine* const parakeet = engines_.parakeet;
      parakeet != nullptr && modelText.toLower().startsWith(QLatin1String("parakeet-tdt-"))) {
    parakeet->refresh();
    if (!parakeet->isInstalled(asrModelVersionForName(modelText))) {
      logger_.error("Parakeet model not downloaded: %{public}s", modelText);
      co_return Failed{failure(TranscriptionError::ModelNotDownloaded{})};
    }
    auto preparing = parakeet->prepare(modelText);
    auto prepared = co_await std::move(preparing);
    if (!prepared) co_return Failed{std::move(prepared).error()};
    logger_.info("✅ Parakeet provider selected for model: %s", modelText);
    co_return static_cast<TranscriptionProvider*>(parakeet);
  }

  logger_.warning("⚠️ Unknown local model: %{public}s. Falling back to base", modelText);
  local->setModel(WhisperModel::base);
  co_return static_cast<TranscriptionProvider*>(local);
}

Task<Result<void, AnyError>> TranscriptionProviderRouter::checkPostProcessingHealth(ModePtr mode) {
  const int value = mode ? mode->postProcessingMode.value_or(0) : 0;
  QString raw;
  if (value == static_cast<int>(PostProcessingMode::cloud))
    raw = mode->postProcessingProvider.value_or(QStringLiteral("quillmere"));
  else if (value == static_cast<int>(PostProcessingMode::local))
    raw = QStringLiteral("local_gemma");
  const auto provider = fromRawValue<PostProcessingProvider>(raw);
  if (!provider || *provider == PostProcessingProvider::quillmere || *provider == PostProcessingProvider::localGemma ||
      engines_.health == nullptr)
    co_return Result<void, AnyError>();

  auto asking = engines_.health->status(*provider);
  const ProviderHealth health = co_await std::move(asking);
  if (health == ProviderHealth::healthy) co_return Result<void, AnyError>();
  logger_.warning("Post-processing provider not healthy · provider=%{public}s · status=%{public}s",
                  displayName(*provider), logText(health));
  co_return Failed{AnyError(errorForHealth(health, displayName(*provider)))};
}

void TranscriptionProviderRouter::configureCloudEngine(CloudProvider provider, const QString& apiKey) {
  const auto found = engines_.cloudEngines.find(provider);
  if (found != engines_.cloudEngines.end()) found->second->configure(provider, apiKey);
}

}  // namespace quillmere
