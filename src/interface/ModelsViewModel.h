#pragma once
#include <QAbstractListModel>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "base/Subscription.h"
#include "base/async/Executor.h"
#include "base/async/TaskScope.h"
#include "domain/Entities.h"
#include "domain/WhisperModel.h"
#include "interface/DownloadEstimate.h"

namespace quillmere {

class AppState;
class PersistenceController;
class UserNotices;
class WhisperModelManager;

// The speech models of this machine: the catalogue, then what the user brought. Main thread; everything outlives it,
// the pointers may be null. Downloads end with it; a later one goes on where they stopped.
class ModelsViewModel final : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(QString folder READ folder CONSTANT)
  Q_PROPERTY(bool hasModel READ hasModel NOTIFY summaryChanged)
  Q_PROPERTY(QString activeName READ activeName NOTIFY summaryChanged)
  Q_PROPERTY(QString modeName READ modeName NOTIFY summaryChanged)
 public:
  enum Role {
    nameRole = Qt::UserRole + 1,
    displayNameRole,
    sizeRole,         // "142 MB"
    descriptionRole,  // languages and what the model is good for
    downloadedRole,
    downloadingRole,
    progressRole,      // 0 to 1; negative: unknown
    progressTextRole,  // "88 of 142 MB · 9 s left"
    partialRole,       // an earlier download goes on from here
    activeRole,        // the selected mode uses it
    customRole
  };

  struct Services {
    WhisperModelManager& models;
    Executor& executor;
    AppState* appState = nullptr;
    PersistenceController* persistence = nullptr;
    UserNotices* notices = nullptr;
    std::function<void(ModePtr)> modelChosen = {};  // the selected mode has another model now
  };
  explicit ModelsViewModel(Services services);
  ~ModelsViewModel() override;

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  QString folder() const;
  bool hasModel() const;
  QString activeName() const;
  QString modeName() const;

  Q_INVOKABLE void download(const QString& name);
  Q_INVOKABLE void cancel(const QString& name);
  Q_INVOKABLE void remove(const QString& name);
  // The selected mode transcribes with it from now on.
  Q_INVOKABLE void use(const QString& name);

 Q_SIGNALS:
  void summaryChanged();

 private:
  struct Row {
    WhisperCppModel model;
    bool isCustom = false;
    bool operator==(const Row&) const = default;
  };
  template <typename Model, typename AnyRow>
  friend bool followRows(Model& model, std::vector<AnyRow>& shown, const std::vector<AnyRow>& wanted);
  void readRows();
  void allChanged();
  void progressChanged();
  const Row* row(const QString& name) const;
  bool isDownloaded(const QString& name) const;
  ModePtr selectedMode() const;
  QString progressText(const WhisperCppModel& model) const;

  Services services_;
  std::vector<Row> rows_;
  std::map<QString, DownloadEstimate> estimates_;
  std::vector<Subscription> observations_;
  TaskScope scope_;  // last: its tasks use the fields above
};

}  // namespace quillmere
