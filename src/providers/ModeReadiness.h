#pragma once
#include <optional>
#include <vector>

#include "domain/Entities.h"
#include "domain/Errors.h"
#include "providers/MissingAPIKey.h"

namespace quillmere {

// Whether a mode can run, asked before anything is spoken or copied. Main thread; answers at once, from what is known
// here: no service is asked and nothing waits.
class ModeReadiness {
 public:
  virtual ~ModeReadiness() = default;
  // Why no text can come of this mode now: its key, its model, its engine or the network is missing. Without a mode the
  // default model is meant. localizedDescription() words it.
  virtual std::optional<TranscriptionError> whyModeCannotRun(const Mode* mode) const = 0;
  // The keys that the mode lacks, that of the rewriting too, without which it runs all the same.
  virtual std::vector<MissingAPIKey> missingKeys(const Mode& mode) const = 0;
};

}  // namespace quillmere
