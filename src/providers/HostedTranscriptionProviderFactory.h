#pragma once
#include <memory>

#include "providers/TranscriptionProvider.h"

namespace quillmere {

// Makes the engine of the hosted service on its first use.
class HostedTranscriptionProviderFactory {
 public:
  virtual ~HostedTranscriptionProviderFactory() = default;
  virtual bool hasCreditManager() const = 0;
  // Null where it cannot be made.
  virtual std::unique_ptr<TranscriptionProvider> makeProvider() = 0;
};

}  // namespace quillmere
