#pragma once
#include <QString>

#include "base/log/Logger.h"

namespace quillmere {

class PersistenceController;

// The user's word replacements as they stand in the store. Main thread, as the store's objects.
class VocabularyProcessor {
 public:
  // The store outlives the processor.
  VocabularyProcessor(PersistenceController& persistence, const Logging& logging);
  QString apply(const QString& text) const;

 private:
  PersistenceController& persistence_;
  Logger logger_;
};

}  // namespace quillmere
