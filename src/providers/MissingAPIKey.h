#pragma once
#include <QString>
#include <variant>
#include <vector>

#include "domain/Entities.h"
#include "domain/ModeTypes.h"

namespace quillmere {

class CloudProviderAPIKeyProviding;

// What keeps a mode from working.
struct MissingAPIKey {
  struct Transcription {
    CloudProvider provider;
    bool operator==(const Transcription&) const = default;
  };
  struct PostProcessing {
    PostProcessingProvider provider;
    bool operator==(const PostProcessing&) const = default;
  };
  struct Offline {
    bool operator==(const Offline&) const = default;
  };
  std::variant<Transcription, PostProcessing, Offline> context;

  // "OpenAI (transcription)", "Anthropic (post-processing)", "Internet connection".
  QString displayText() const;
  bool operator==(const MissingAPIKey&) const = default;
};

// Pure but for the key lookup. Without a lookup every key counts as missing.
std::vector<MissingAPIKey> missingAPIKeys(const Mode& mode, bool isOnline, const CloudProviderAPIKeyProviding* keys);

}  // namespace quillmere
