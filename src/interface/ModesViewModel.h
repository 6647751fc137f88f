#pragma once
#include <QAbstractListModel>
#include <QVariantMap>
#include <vector>

#include "base/Subscription.h"
#include "base/log/Logger.h"
#include "domain/Entities.h"

namespace quillmere {

class AppState;
class PersistenceController;
class SettingsManager;
class WhisperModelManager;

// The modes in their order, and what an editor of one needs. Operations that can be refused give the sentence that says
// why, and nothing when they are done. Main thread; everything outlives it.
class ModesViewModel final : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(int count READ count NOTIFY listChanged)
 public:
  enum Role { idRole = Qt::UserRole + 1, nameRole, detailsRole, selectedRole, usableRole };

  struct Services {
    PersistenceController& persistence;
    SettingsManager& settings;
    AppState& appState;
    WhisperModelManager& models;
  };
  ModesViewModel(Services services, const Logging& logging);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;
  int count() const { return int(modes_.size()); }

  // name, model, language, preset of a mode; of a new one for an empty id.
  Q_INVOKABLE QVariantMap values(const QString& id) const;
  Q_INVOKABLE QString save(const QString& id, const QVariantMap& values);
  Q_INVOKABLE QString remove(const QString& id);
  Q_INVOKABLE void select(const QString& id);
  // {value, text}; `present` is among them whatever it is.
  Q_INVOKABLE QVariantList modelChoices(const QString& present) const;
  // Those that the model knows, by name, and `present`.
  Q_INVOKABLE QVariantList languageChoices(const QString& model, const QString& present) const;
  Q_INVOKABLE QVariantList presetChoices() const;

 Q_SIGNALS:
  void listChanged();

 private:
  template <typename Model, typename AnyRow>
  friend bool followRows(Model& model, std::vector<AnyRow>& shown, const std::vector<AnyRow>& wanted);
  void read();
  void allChanged();
  QString modelName(const QString& model) const;
  bool isUsable(const Mode& mode) const;

  Services services_;
  Logging logging_;
  std::vector<ModePtr> modes_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace quillmere
