#pragma once
#include "base/async/Task.h"
#include "domain/ModeTypes.h"
#include "providers/ProviderHealth.h"

namespace quillmere {

// The value that the choice of a provider is gated on. Main thread; may ask the service.
class ProviderHealthChecking {
 public:
  virtual ~ProviderHealthChecking() = default;
  virtual Task<ProviderHealth> status(CloudProvider provider) = 0;
  virtual Task<ProviderHealth> status(PostProcessingProvider provider) = 0;
};

}  // namespace quillmere
