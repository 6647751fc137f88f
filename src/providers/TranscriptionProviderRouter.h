#pragma once
#include <map>
#include <memory>

#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "domain/ModeTypes.h"
#include "providers/ModeReadiness.h"
#include "providers/ProviderHealth.h"
#include "providers/TranscriptionProvider.h"

namespace quillmere {

class CloudProviderAPIKeyProviding;
class ErrorReporting;
class HostedTranscriptionProviderFactory;
class LibWhisperProvider;
class NetworkStatus;
class ParakeetEngine;
class ProviderHealthChecking;

// What the router chooses among. Everything outlives the router; null means "not in this build or desktop session".
struct TranscriptionEngines {
  LibWhisperProvider* localProvider = nullptr;
  ParakeetEngine* parakeet = nullptr;
  std::map<CloudProvider, TranscriptionProvider*> cloudEngines;  // several services may share one object
  HostedTranscriptionProviderFactory* hostedFactory = nullptr;
  ProviderHealthChecking* health = nullptr;
  const CloudProviderAPIKeyProviding* apiKeys = nullptr;
};

// The engine for a mode, with what a request to it has to say.
struct ChosenEngine {
  TranscriptionProvider* provider = nullptr;  // never null
  QString model;                              // SpeechRequest::model
  std::optional<CloudProvider> service;       // none: on this computer
  QString apiKey;
};

// Chooses the speech engine for a mode and refuses to hand one out that cannot work. Main thread.
class TranscriptionProviderRouter final : public ModeReadiness {
 public:
  TranscriptionProviderRouter(TranscriptionEngines engines, const NetworkStatus& network,
                              ErrorReporting* errorReporting, const Logging& logging);
  ~TranscriptionProviderRouter() override;

  // The error is always a TranscriptionError. Asks the service where its health isn't known.
  Task<Result<ChosenEngine, AnyError>> selectProvider(const ModePtr& mode);
  Task<Result<void, AnyError>> checkPostProcessingHealth(ModePtr mode);

  std::optional<TranscriptionError> whyModeCannotRun(const Mode* mode) const override;
  std::vector<MissingAPIKey> missingKeys(const Mode& mode) const override;

 private:
  Task<Result<ChosenEngine, AnyError>> selectCloudProvider(Mode mode);
  Task<Result<ChosenEngine, AnyError>> selectLocalProvider(QString modelText, std::optional<QString> language);
  Result<ChosenEngine, TranscriptionError> chooseLocal(const QString& modelText,
                                                       const std::optional<QString>& language) const;
  Result<QString, TranscriptionError> keyOf(CloudProvider service) const;

  TranscriptionEngines engines_;
  const NetworkStatus& network_;
  ErrorReporting* errorReporting_;
  Logger logger_;
  std::unique_ptr<TranscriptionProvider> hosted_;
};

// The error for a service that isn't healthy.
TranscriptionError errorForHealth(ProviderHealth health, const QString& providerName);

}  // namespace quillmere
