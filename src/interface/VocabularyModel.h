#pragma once
#include <QAbstractListModel>
#include <vector>

#include "base/Subscription.h"
#include "domain/Entities.h"

namespace quillmere {

class PersistenceController;

// The words that are to be written in a certain way, by word. Operations that can be refused give the sentence that
// says why, and nothing when they are done. Main thread; the store outlives it.
class VocabularyModel final : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(int count READ count NOTIFY listChanged)
 public:
  enum Role { idRole = Qt::UserRole + 1, wordRole, replacementRole };

  explicit VocabularyModel(PersistenceController& persistence);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;
  int count() const { return int(items_.size()); }

  // The replacement may be empty.
  Q_INVOKABLE QString add(const QString& word, const QString& replacement);
  Q_INVOKABLE QString change(const QString& id, const QString& word, const QString& replacement);
  Q_INVOKABLE void remove(const QString& id);

 Q_SIGNALS:
  void listChanged();

 private:
  template <typename Model, typename AnyRow>
  friend bool followRows(Model& model, std::vector<AnyRow>& shown, const std::vector<AnyRow>& wanted);
  void read();
  QString refusal(const QString& word, const QString& ownId) const;

  PersistenceController& persistence_;
  std::vector<VocabularyPtr> items_;
  Subscription observation_;
};

}  // namespace quillmere
