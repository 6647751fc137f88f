#pragma once
#include <QString>

#include "domain/ModeTypes.h"

namespace quillmere {

// Looks up the key of a cloud service. "" when there is none.
class CloudProviderAPIKeyProviding {
 public:
  virtual ~CloudProviderAPIKeyProviding() = default;
  virtual QString apiKey(CloudProvider provider) const = 0;
  virtual QString apiKey(PostProcessingProvider provider) const = 0;
};

}  // namespace quillmere
