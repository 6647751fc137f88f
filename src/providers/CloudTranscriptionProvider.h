#pragma once
#include "domain/ModeTypes.h"
#include "providers/TranscriptionProvider.h"

namespace quillmere {

// An engine that needs an API key. One object may serve several services: the last configure() wins.
class CloudTranscriptionProvider : public TranscriptionProvider {
 public:
  virtual void configure(CloudProvider provider, const QString& apiKey) = 0;
};

}  // namespace quillmere
