#include "storage/VocabularyStore.h"

#include "base/text/Graphemes.h"
#include "storage/ObjectContext.h"
#include "storage/RowLookup.h"
#include "storage/SortOrder.h"
#include "storage/Store.h"

namespace quillmere {

namespace {

std::optional<QString> trimmedReplacement(const std::optional<QString>& replacement) {
  const QString text = trimmedText(replacement.value_or(QString()));
  if (text.isEmpty()) return std::nullopt;
  return text;
}

}  // namespace

std::vector<VocabularyPtr> VocabularyStore::fetchAllVocabularyItems() {
  auto items = store_.valueOrReport(store_.context().fetchWithInserted<Vocabulary>("ORDER BY word, pk"),
                                    "Failed to fetch vocabulary: %{public}@", "Failed to fetch vocabulary");
  std::stable_sort(items.begin(), items.end(), [](const VocabularyPtr& a, const VocabularyPtr& b) {
    return a->word.value_or(QString()) < b->word.value_or(QString());
  });
  return items;
}

VocabularyPtr VocabularyStore::fetchVocabularyItem(const QString& word) {
  const QString wanted = trimmedText(word);
  for (const VocabularyPtr& item : fetchAllVocabularyItems())
    if (item->word && sameWord(*item->word, wanted)) return item;
  return nullptr;
}

bool VocabularyStore::vocabularyItemExists(const QString& word) {
  return fetchVocabularyItem(word) != nullptr;
}

bool VocabularyStore::addVocabularyItem(const QString& word, const std::optional<QString>& replacement) {
  VocabularyPtr added;
  const QUuid id = QUuid::createUuid();
  const auto body = [&] {
    if (vocabularyItemExists(word)) return;
    Vocabulary item;
    item.id = id;
    item.word = trimmedText(word);
    item.replacement = trimmedReplacement(replacement);
    item.createdDate = store_.clock().now();
    item.sortOrder = nextSortOrder(fetchAllVocabularyItems());
    added = store_.context().insert(std::move(item));
  };
  store_.change(body, [this, id] { recheck(id); });
  return added != nullptr;
}

// Another process may have added the same word, or others, while this one waited to be written.
void VocabularyStore::recheck(const QUuid& id) {
  const auto items = fetchAllVocabularyItems();
  const auto isThis = [&](const VocabularyPtr& item) { return item->id == id; };
  const auto added = std::find_if(items.begin(), items.end(), isThis);
  if (added == items.end()) return;
  const bool isDuplicate = std::any_of(items.begin(), items.end(), [&](const VocabularyPtr& item) {
    return item != *added && item->word && sameWord(*item->word, (*added)->word.value_or(QString()));
  });
  if (isDuplicate)
    store_.context().remove(*added);
  else
    (*added)->sortOrder = nextSortOrder(items, *added);
}

void VocabularyStore::deleteVocabularyItem(const QUuid& id) {
  for (const VocabularyPtr& item : fetchAllVocabularyItems()) {
    if (item->id != id) continue;
    store_.context().remove(item);
    store_.save();
    return;
  }
}

bool VocabularyStore::deleteVocabularyItem(const QString& word) {
  const VocabularyPtr item = fetchVocabularyItem(word);
  if (!item) return false;
  store_.context().remove(item);
  store_.save();
  return true;
}

bool VocabularyStore::updateVocabularyItem(const QUuid& id, const QString& word,
                                           const std::optional<QString>& replacement) {
  const QString trimmed = trimmedText(word);
  if (trimmed.isEmpty()) return false;
  bool isChanged = false;
  store_.change([&] {
    VocabularyPtr target;
    for (const VocabularyPtr& item : fetchAllVocabularyItems()) {
      if (item->id == id)
        target = item;
      else if (item->word && sameWord(*item->word, trimmed))
        return;
    }
    if (!target) return;
    target->word = trimmed;
    target->replacement = trimmedReplacement(replacement);
    isChanged = true;
  });
  return isChanged;
}

}  // namespace quillmere
