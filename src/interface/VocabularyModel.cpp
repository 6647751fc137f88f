#include "interface/VocabularyModel.h"

#include <algorithm>

#include "base/text/Folding.h"
#include "base/text/LocalizedText.h"
#include "interface/FollowRows.h"
#include "storage/PersistenceController.h"

namespace quillmere {
namespace {

std::optional<QString> unlessEmpty(const QString& text) {
  const QString trimmed = text.trimmed();
  return trimmed.isEmpty() ? std::nullopt : std::optional(trimmed);
}

QString idText(const Vocabulary& item) {
  return item.id ? item.id->toString(QUuid::WithoutBraces) : QString();
}

}  // namespace

VocabularyModel::VocabularyModel(PersistenceController& persistence) : persistence_(persistence) {
  read();
  observation_ = persistence_.observeChanges([this](const StoreChange& change) {
    if (change.vocabulary) read();
  });
}

void VocabularyModel::read() {
  std::vector<VocabularyPtr> items = persistence_.fetchAllVocabularyItems();
  // As a dictionary has them, without regard to case and accents.
  const auto key = [](const VocabularyPtr& item) { return foldedForSearch(item->word.value_or(QString())); };
  std::stable_sort(items.begin(), items.end(),
                   [&](const VocabularyPtr& a, const VocabularyPtr& b) { return key(a) < key(b); });
  const bool isOtherList = followRows(*this, items_, items);
  if (!items_.empty()) Q_EMIT dataChanged(index(0), index(count() - 1));
  if (isOtherList) Q_EMIT listChanged();
}

int VocabularyModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : count();
}

QHash<int, QByteArray> VocabularyModel::roleNames() const {
  return {{idRole, "itemId"}, {wordRole, "word"}, {replacementRole, "replacement"}};
}

QVariant VocabularyModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= count()) return {};
  const Vocabulary& item = *items_[size_t(index.row())];
  switch (role) {
    case idRole:
      return idText(item);
    case wordRole:
    case Qt::DisplayRole:
      return item.word.value_or(QString());
    case replacementRole:
      return item.replacement.value_or(QString());
    default:
      return {};
  }
}

QString VocabularyModel::refusal(const QString& word, const QString& ownId) const {
  if (word.trimmed().isEmpty()) return localizedText("vocabulary.error.empty");
  const VocabularyPtr other = persistence_.fetchVocabularyItem(word.trimmed());
  if (other && idText(*other) != ownId) return localizedText("vocabulary.error.duplicate", word.trimmed());
  return localizedText("vocabulary.error.notSaved");
}

QString VocabularyModel::add(const QString& word, const QString& replacement) {
  const QString trimmed = word.trimmed();
  if (trimmed.isEmpty() || persistence_.vocabularyItemExists(trimmed) ||
      !persistence_.addVocabularyItem(trimmed, unlessEmpty(replacement)))
    return refusal(word, {});
  return {};
}

QString VocabularyModel::change(const QString& id, const QString& word, const QString& replacement) {
  if (!persistence_.updateVocabularyItem(QUuid::fromString(id), word.trimmed(), unlessEmpty(replacement)))
    return refusal(word, id);
  return {};
}

void VocabularyModel::remove(const QString& id) {
  persistence_.deleteVocabularyItem(QUuid::fromString(id));
}

}  // namespace quillmere
