#include "postprocessing/VocabularyProcessor.h"

#include "postprocessing/TranscriptionTextProcessing.h"
#include "postprocessing/VocabularyReplacement.h"
#include "storage/PersistenceController.h"

namespace quillmere {

VocabularyProcessor::VocabularyProcessor(PersistenceController& persistence, const Logging& logging)
    : persistence_(persistence),
      logger_(logging.logger(QString::fromLatin1(TranscriptionTextProcessing::logCategory))) {}

QString VocabularyProcessor::apply(const QString& text) const {
  return applyVocabulary(text, persistence_.fetchAllVocabularyItems(), logger_);
}

}  // namespace quillmere
