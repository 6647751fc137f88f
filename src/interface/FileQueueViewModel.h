#pragma once
#include <QAbstractListModel>
#include <QUrl>
#include <filesystem>
#include <vector>

#include "base/Subscription.h"
#include "base/async/TaskScope.h"
#include "domain/Entities.h"
#include "files/FileTranscriptionFlow.h"
#include "interface/FileQueue.h"

namespace quillmere {

class AlertsViewModel;
class AppState;
class FilePicker;
class PersistenceController;
class UserNotices;

// The files that are transcribed from the window, one after the other, each under the mode that was chosen when it was
// added. A text ends up in the history; why a file has none stands in its row. A single file that fails raises an
// alert, several are told in one notice at the end. Main thread; everything outlives it, the pointers may be null.
class FileQueueViewModel final : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(int count READ count NOTIFY listChanged)
  Q_PROPERTY(bool isWorking READ isWorking NOTIFY listChanged)
  Q_PROPERTY(bool hasFinished READ hasFinished NOTIFY listChanged)
  Q_PROPERTY(bool canChoose READ canChoose CONSTANT)
  Q_PROPERTY(QString modeId READ modeId WRITE setModeId NOTIFY modeChanged)
 public:
  enum Role {
    idRole = Qt::UserRole + 1,
    nameRole,
    modeRole,
    detailRole,    // what happens with it, in words
    progressRole,  // 0 to 1
    runningRole,
    waitingRole,
    completedRole,
    failedRole,
    retryRole  // whether it can be tried again
  };

  struct Services {
    Executor& executor;
    AppState& appState;
    PersistenceController& persistence;
    FileTranscriptionFlow& flow;  // nobody else gives it files
    FilePicker* picker = nullptr;
    AlertsViewModel* alerts = nullptr;
    UserNotices* notices = nullptr;
  };
  explicit FileQueueViewModel(Services services);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;
  int count() const { return int(queue_.items().size()); }
  bool isWorking() const { return !queue_.isIdle(); }
  bool hasFinished() const;
  bool canChoose() const { return services_.picker != nullptr; }
  // The mode of files that come from now on: the selected one until another is chosen here.
  QString modeId() const;
  void setModeId(const QString& id);

  void add(const std::vector<std::filesystem::path>& files);
  // Files that were dropped or handed over; what is not on this computer is told and left out.
  Q_INVOKABLE void addUrls(const QList<QUrl>& urls);
  // Asks for files.
  Q_INVOKABLE void choose();
  Q_INVOKABLE void cancel(const QString& id);
  Q_INVOKABLE void retry(const QString& id);
  Q_INVOKABLE void remove(const QString& id);
  Q_INVOKABLE void removeFinished();
  // Cancels everything and waits for the end of the file under way, whose row then tells the history of it.
  Task<void> shutDown();

 Q_SIGNALS:
  void listChanged();
  void modeChanged();
  void added();
  // The queue is through and every text is in the history; the sentence says so.
  void allDone(const QString& sentence);

 private:
  void show(const FileTranscriptionProgressState& state);
  void rowChanged(FileQueue::Id id);
  void startWork();
  Task<void> work();
  void finish(FileQueue::Id id, const FileTranscriptionOutcome& outcome);
  void tellTheEnd();
  Task<void> pick();
  ModePtr modeOf(const QString& id) const;
  QString detail(const FileQueue::Item& item) const;

  Services services_;
  FileQueue queue_;
  QString chosenModeId_;
  bool isWorking_ = false;
  bool isChoosing_ = false;
  int completed_ = 0;  // since the work began
  std::vector<AlertText> failures_;
  QString lastName_;
  Subscription progress_;
  Subscription mode_;
  TaskHandle<void> worker_;
  TaskScope scope_;  // last: its tasks use the fields above
};

}  // namespace quillmere
