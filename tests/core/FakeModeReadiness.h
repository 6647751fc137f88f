#pragma once
#include "providers/ModeReadiness.h"

namespace quillmere {

// Answers what the test says.
class FakeModeReadiness final : public ModeReadiness {
 public:
  std::optional<TranscriptionError> problem;
  std::vector<MissingAPIKey> missing;

  std::optional<TranscriptionError> whyModeCannotRun(const Mode*) const override { return problem; }
  std::vector<MissingAPIKey> missingKeys(const Mode&) const override { return missing; }
};

}  // namespace quillmere
