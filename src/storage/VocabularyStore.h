#pragma once
#include <QString>
#include <QUuid>
#include <optional>
#include <vector>

#include "domain/Entities.h"

namespace quillmere {

class Store;

// The user's words, each once in any case. Main thread only; failures are told as PersistenceController says.
class VocabularyStore {
 public:
  explicit VocabularyStore(Store& store) : store_(store) {}

  bool addVocabularyItem(const QString& word, const std::optional<QString>& replacement = {});
  bool vocabularyItemExists(const QString& word);
  void deleteVocabularyItem(const QUuid& id);
  // By word, in any case; false when there is none.
  bool deleteVocabularyItem(const QString& word);
  // Changes word and replacement of the entry; false for an unknown entry, an empty word or one that another entry has.
  bool updateVocabularyItem(const QUuid& id, const QString& word, const std::optional<QString>& replacement);
  VocabularyPtr fetchVocabularyItem(const QString& word);  // in any case
  std::vector<VocabularyPtr> fetchAllVocabularyItems();    // by word

 private:
  void recheck(const QUuid& id);

  Store& store_;
};

}  // namespace quillmere
