#pragma once
#include <QString>
#include <optional>
#include <vector>

#include "base/async/Task.h"
#include "domain/ProcessedTag.h"

namespace quillmere {

// Spoken file names and the index of the active project, as far as a dictation needs them. Main thread.
class SpokenFileTags {
 public:
  struct Resolution {
    QString text;
    std::vector<ProcessedTag> tags;  // all of them, matched or not
  };
  virtual ~SpokenFileTags() = default;
  virtual bool hasFileIndex() const = 0;
  // `bundleId`: the application that the text goes to.
  virtual Resolution resolve(const QString& text, const std::optional<QString>& bundleId) = 0;
  // Looks at the files of the active project again. Awaited while the recorder runs.
  virtual Task<void> refreshFileIndex() = 0;
};

}  // namespace quillmere
