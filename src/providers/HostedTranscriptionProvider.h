#pragma once
#include <memory>

#include "providers/TranscriptionProvider.h"

namespace quillmere {

// The hosted service, whose answer may carry a text that it has already rewritten.
class HostedTranscriptionProvider : public TranscriptionProvider {
 public:
  // Of the last transcribe(); none when the service rewrote nothing.
  virtual std::optional<QString> aiEnhancedText() const = 0;
};

// Makes the hosted provider on its first use.
class HostedTranscriptionProviderFactory {
 public:
  virtual ~HostedTranscriptionProviderFactory() = default;
  virtual bool hasCreditManager() const = 0;
  // Null where the provider cannot be made.
  virtual std::unique_ptr<HostedTranscriptionProvider> makeProvider() = 0;
};

}  // namespace quillmere
