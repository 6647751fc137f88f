#pragma once
#include <QString>
#include <optional>
#include <vector>

#include "base/Result.h"
#include "base/async/Task.h"
#include "domain/Entities.h"
#include "domain/Errors.h"

namespace quillmere {

// A speech engine, on the device or in a cloud. Used on the main thread; the work itself may run elsewhere.
class TranscriptionProvider {
 public:
  virtual ~TranscriptionProvider() = default;
  // `language` is lower-cased; none means that the engine finds it. Cancelling the task breaks the work off.
  virtual Task<Result<QString, AnyError>> transcribe(QString audioPath, std::optional<QString> language, ModePtr mode,
                                                     std::vector<VocabularyPtr> vocabulary) = 0;
  // It has what it needs to start.
  virtual bool isAvailable() const = 0;
  // Display name, kept in TranscriptionResult::provider.
  virtual QString name() const = 0;
};

}  // namespace quillmere
