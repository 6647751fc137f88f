#pragma once
#include <map>
#include <memory>

#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "domain/ModeTypes.h"
#include "providers/ProviderHealth.h"
#include "providers/TranscriptionProvider.h"

namespace quillmere {

class CloudProviderAPIKeyProviding;
class CloudTranscriptionProvider;
class ErrorReporting;
class HostedTranscriptionProvider;
class HostedTranscriptionProviderFactory;
class LibWhisperProvider;
class NetworkStatus;
class ParakeetEngine;
class ProviderHealthChecking;

// What the router chooses among. Everything outlives the router; null means "not in this build or session".
struct TranscriptionEngines {
  LibWhisperProvider* localProvider = nullptr;
  ParakeetEngine* parakeet = nullptr;
  std::map<CloudProvider, CloudTranscriptionProvider*> cloudEngines;  // several services may share one object
  HostedTranscriptionProviderFactory* hostedFactory = nullptr;
  ProviderHealthChecking* health = nullptr;
  const CloudProviderAPIKeyProviding* apiKeys = nullptr;
};

// Chooses the speech engine for a mode and refuses to hand one out that cannot work. Main thread.
class TranscriptionProviderRouter {
 public:
  TranscriptionProviderRouter(TranscriptionEngines engines, const NetworkStatus& network,
                              ErrorReporting* errorReporting, const Logging& logging);
  ~TranscriptionProviderRouter();

  // Never null on success. The error is always a TranscriptionError.
  Task<Result<TranscriptionProvider*, AnyError>> selectProvider(ModePtr mode);
  Task<Result<void, AnyError>> checkPostProcessingHealth(ModePtr mode);
  // Hands a key to the engine of this service, where there is one.
  void configureCloudEngine(CloudProvider provider, const QString& apiKey);

 private:
  Task<Result<TranscriptionProvider*, AnyError>> selectCloudProvider(ModePtr mode);
  Task<Result<TranscriptionProvider*, AnyError>> selectLocalProvider(QString modelText);

  TranscriptionEngines engines_;
  const NetworkStatus& network_;
  ErrorReporting* errorReporting_;
  Logger logger_;
  std::unique_ptr<HostedTranscriptionProvider> hosted_;
};

// The error for a service that isn't healthy.
TranscriptionError errorForHealth(ProviderHealth health, const QString& providerName);

}  // namespace quillmere
