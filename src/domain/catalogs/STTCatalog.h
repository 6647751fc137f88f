#pragma once
#include <QString>
#include <optional>
#include <vector>

#include "domain/ModeTypes.h"

namespace quillmere {

struct STTLanguageSpec {
  QString code;
  QString displayName;  // the code itself where the language table has no name
  bool operator==(const STTLanguageSpec&) const = default;
};

struct STTModelSpec {
  QString id;
  QString displayName;
  std::vector<STTLanguageSpec> languages;
  std::optional<QString> notes;
  bool operator==(const STTModelSpec&) const = default;
};

struct STTProviderSpec {
  QString id;
  QString displayName;
  QString authKeyName;                    // the name under which its key is shown
  std::optional<QString> lastVerifiedAt;  // "2025-09-17"
  std::vector<STTModelSpec> models;
  bool operator==(const STTProviderSpec&) const = default;
};

// Which languages the settings offer for each cloud speech model. Constant data; any thread.
class STTCatalog {
 public:
  static const std::vector<STTProviderSpec>& providers();
  static const STTProviderSpec* provider(const QString& id);
  static const STTModelSpec* model(const QString& providerId, const QString& modelId);
};

}  // namespace quillmere
