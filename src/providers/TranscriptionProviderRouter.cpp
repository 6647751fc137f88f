#include "providers/TranscriptionProviderRouter.h"

#include "base/text/LocalizedText.h"
#include "domain/WhisperModel.h"
#include "ports/ErrorReporting.h"
#include "ports/NetworkStatus.h"
#include "providers/HostedTranscriptionProviderFactory.h"
#include "providers/LibWhisperProvider.h"
#include "providers/LocalModelChoice.h"
#include "providers/ParakeetEngine.h"
#include "providers/ProviderHealthChecking.h"
#include "storage/CloudProviderAPIKeyProviding.h"

namespace quillmere {
namespace {

constexpr const char* notInitialized = "Failed to initialize provider";
constexpr const char* notReady = "Provider is not configured or ready";

TranscriptionError notAvailable(const QString& provider, const char* reason) {
  return {TranscriptionError::ProviderNotAvailable{provider, QString::fromUtf8(reason)}};
}

TranscriptionError offline() {
  return {TranscriptionError::NetworkError{QStringLiteral("No internet connection")}};
}

QString modelTextOf(const Mode* mode) {
  return mode != nullptr && mode->model ? *mode->model : QStringLiteral("base");
}

std::optional<QString> languageOf(const Mode* mode) {
  return mode != nullptr ? mode->language : std::nullopt;
}

bool isCloud(const Mode& mode) {
  return modelTextOf(&mode).toLower() == QLatin1String("cloud");
}

CloudProvider serviceOf(const Mode& mode) {
  return fromRawValue<CloudProvider>(mode.cloudProvider.value_or(QString())).value_or(CloudProvider::openai);
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

Task<Result<ChosenEngine, AnyError>> TranscriptionProviderRouter::selectProvider(const ModePtr& mode) {
  if (mode && isCloud(*mode)) return selectCloudProvider(*mode);
  return selectLocalProvider(modelTextOf(mode.get()), languageOf(mode.get()));
}

Result<QString, TranscriptionError> TranscriptionProviderRouter::keyOf(CloudProvider service) const {
  const Failed missing{TranscriptionError{TranscriptionError::ApiKeyMissing{displayName(service)}}};
  if (engines_.apiKeys == nullptr) return missing;
  if (service == CloudProvider::quillmere) return QString();
  const QString key = engines_.apiKeys->apiKey(service);
  if (key.isEmpty()) return missing;
  return key;
}

Task<Result<ChosenEngine, AnyError>> TranscriptionProviderRouter::selectCloudProvider(Mode mode) {
  const CloudProvider service = serviceOf(mode);
  const QString serviceName = displayName(service);
  CO_TRY(const QString key, keyOf(service));

  TranscriptionProvider* provider = nullptr;
  if (service == CloudProvider::quillmere) {
    const bool hasCreditManager = engines_.hostedFactory != nullptr && engines_.hostedFactory->hasCreditManager();
    if (!hosted_ && hasCreditManager) hosted_ = engines_.hostedFactory->makeProvider();
    if (!hosted_) {
      tell(errorReporting_, "Quillmere Cloud provider failed to initialize", ReportLevel::info,
           {{QStringLiteral("provider"), serviceName},
            {QStringLiteral("hasCreditManager"), hasCreditManager},
            {QStringLiteral("reason"), QStringLiteral("nilProvider")}});
      co_return Failed{AnyError(notAvailable(serviceName, notInitialized))};
    }
    provider = hosted_.get();
  } else {
    const auto found = engines_.cloudEngines.find(service);
    if (found != engines_.cloudEngines.end()) provider = found->second;
  }

  if (engines_.health != nullptr) {
    const ProviderHealth health = co_await engines_.health->status(service);
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
    co_return Failed{AnyError(notAvailable(providerName, notReady))};
  }
  if (!network_.isOnline()) co_return Failed{AnyError(offline())};
  ChosenEngine chosen;
  chosen.provider = provider;
  chosen.model = mode.cloudTranscriptionModel.value_or(QString());
  chosen.service = service;
  chosen.apiKey = key;
  co_return chosen;
}

// Without loading anything.
Result<ChosenEngine, TranscriptionError> TranscriptionProviderRouter::chooseLocal(
    const QString& modelText, const std::optional<QString>& language) const {
  LibWhisperProvider* const local = engines_.localProvider;
  if (local == nullptr) return Failed{notAvailable(QStringLiteral("Local Whisper"), "Local provider not initialized")};

  ChosenEngine chosen;
  chosen.provider = local;
  if (const auto model =
          chooseLocalModel(modelText, language, [&](const QString& name) { return local->isDownloaded(name); })) {
    if (!model->isDownloaded) return Failed{TranscriptionError{TranscriptionError::ModelNotDownloaded{model->name}}};
    if (language && !local->canBeAskedFor(*language, model->name))
      return Failed{TranscriptionError{TranscriptionError::ProviderNotAvailable{
          local->name(), localizedText("models.error.languageUnknown", model->name, *language)}}};
    chosen.model = model->name;
    return chosen;
  }
  if (ParakeetEngine* const parakeet = engines_.parakeet; parakeet != nullptr && isParakeetModel(modelText)) {
    parakeet->refresh();
    if (!parakeet->isInstalled(asrModelVersionForName(modelText)))
      return Failed{TranscriptionError{TranscriptionError::ModelNotDownloaded{modelText}}};
    chosen.provider = parakeet;
    chosen.model = modelText;
    return chosen;
  }
  logger_.warning("⚠️ Unknown local model: %{public}s. Falling back to base", modelText);
  chosen.model = rawValue(WhisperModel::base);
  return chosen;
}

Task<Result<ChosenEngine, AnyError>> TranscriptionProviderRouter::selectLocalProvider(QString modelText,
                                                                                      std::optional<QString> language) {
  const auto chosen = chooseLocal(modelText, language);
  if (!chosen) {
    if (const auto* missing = std::get_if<TranscriptionError::ModelNotDownloaded>(&chosen.error().kind))
      logger_.error("Local model not downloaded: %{public}s", missing->model.value_or(modelText));
    else
      logger_.error("Local provider unavailable");
    co_return Failed{AnyError(chosen.error())};
  }
  if (engines_.parakeet != nullptr && chosen->provider == engines_.parakeet) {
    CO_TRY_OK(co_await engines_.parakeet->prepare(modelText));
    logger_.info("✅ Parakeet provider selected for model: %s", modelText);
  } else {
    logger_.info("✅ Model set to: %s", chosen->model);
  }
  co_return *chosen;
}

std::optional<TranscriptionError> TranscriptionProviderRouter::whyModeCannotRun(const Mode* mode) const {
  if (mode != nullptr && isCloud(*mode)) {
    const CloudProvider service = serviceOf(*mode);
    if (const auto key = keyOf(service); !key) return key.error();
    if (service == CloudProvider::quillmere) {
      if (!hosted_ && (engines_.hostedFactory == nullptr || !engines_.hostedFactory->hasCreditManager()))
        return notAvailable(displayName(service), notInitialized);
    } else if (const auto found = engines_.cloudEngines.find(service);
               found == engines_.cloudEngines.end() || !found->second->isAvailable()) {
      return notAvailable(displayName(service), notReady);
    }
    if (!network_.isOnline()) return offline();
    return std::nullopt;
  }
  const QString modelText = modelTextOf(mode);
  const LibWhisperProvider* const local = engines_.localProvider;
  if (local != nullptr && !(engines_.parakeet != nullptr && isParakeetModel(modelText)))
    if (const auto unsupported = local->unsupportedProcessor())
      return TranscriptionError{TranscriptionError::ProviderNotAvailable{local->name(), *unsupported}};
  const auto chosen = chooseLocal(modelText, languageOf(mode));
  if (!chosen) return chosen.error();
  if (chosen->provider != local) return std::nullopt;
  if (!local->isDownloaded(chosen->model))
    return TranscriptionError{TranscriptionError::ModelNotDownloaded{chosen->model}};
  return std::nullopt;
}

std::vector<MissingAPIKey> TranscriptionProviderRouter::missingKeys(const Mode& mode) const {
  return missingAPIKeys(mode, network_.isOnline(), engines_.apiKeys);
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

  const ProviderHealth health = co_await engines_.health->status(*provider);
  if (health == ProviderHealth::healthy) co_return Result<void, AnyError>();
  logger_.warning("Post-processing provider not healthy · provider=%{public}s · status=%{public}s",
                  displayName(*provider), logText(health));
  co_return Failed{AnyError(errorForHealth(health, displayName(*provider)))};
}

}  // namespace quillmere
