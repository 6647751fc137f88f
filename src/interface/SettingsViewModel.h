#pragma once
#include <QObject>
#include <QVariantMap>
#include <functional>
#include <memory>

#include "base/Subscription.h"
#include "base/async/Task.h"
#include "base/log/Logger.h"

namespace quillmere {

class DefaultsStore;
class Executor;
class FilePicker;
class PersistenceController;
class SettingsManager;
class UserNotices;
class WorkerPool;

// The settings that a page shows, by key, always as they stand in the store, whoever changes them. Main thread;
// everything outlives it, the notices may be null.
class SettingsViewModel final : public QObject {
  Q_OBJECT
  Q_PROPERTY(QVariantMap values READ values NOTIFY valuesChanged)
  Q_PROPERTY(QVariantList mediaControlChoices READ mediaControlChoices CONSTANT)
  Q_PROPERTY(bool canLaunchAtLogin READ canLaunchAtLogin CONSTANT)
  Q_PROPERTY(QString recordingsFolder READ recordingsFolder NOTIFY valuesChanged)
  Q_PROPERTY(bool canChangeFolder READ canChangeFolder NOTIFY folderChanged)
  Q_PROPERTY(QString folderNote READ folderNote NOTIFY folderChanged)
  Q_PROPERTY(QString moveQuestion READ moveQuestion NOTIFY folderChanged)
  Q_PROPERTY(bool isMoving READ isMoving NOTIFY folderChanged)
 public:
  // `openFolder` shows a folder to the user; empty: nothing can.
  SettingsViewModel(SettingsManager& settings, std::function<void(const QString& path)> openFolder,
                    UserNotices* notices = nullptr);
  ~SettingsViewModel() override;

  // Effective values of the keys below.
  QVariantMap values() const { return values_; }
  QVariantList mediaControlChoices() const;  // {value, text}
  QString recordingsFolder() const;
  // Whether the setting has an effect: an installed program can be started with the session.
  bool canLaunchAtLogin() const { return canLaunchAtLogin_; }
  void setCanLaunchAtLogin(bool can) { canLaunchAtLogin_ = can; }
  Q_INVOKABLE void openRecordingsFolder();

  // What it takes to change the folder of the recordings here. Everything outlives this object.
  struct FolderChange {
    Executor& executor;
    FilePicker& picker;
    PersistenceController& persistence;
    WorkerPool& fileWorkers;
    Logging logging;
  };
  void enableFolderChange(FolderChange use);
  bool canChangeFolder() const { return change_ != nullptr; }
  // Where recordings are kept for now, while the folder is not there; else empty.
  QString folderNote() const;
  // What is in the former folder, and whether it is to come along; empty while there is nothing to ask.
  QString moveQuestion() const;
  bool isMoving() const { return isMoving_; }
  Q_INVOKABLE void chooseRecordingsFolder();
  Q_INVOKABLE void answerMove(bool isWanted);
  // Checked as on the command line; what is wrong with a value is told to the user, and the old one stays.
  Q_INVOKABLE bool set(const QString& key, const QVariant& value);

  static QStringList keys();

 Q_SIGNALS:
  void valuesChanged();
  void folderChanged();

 private:
  struct Change;
  void read();
  void tellOfStandIn();
  void tell(const QString& sentence);
  Task<void> choose();
  Task<void> move();

  SettingsManager& settings_;
  std::function<void(const QString&)> openFolder_;
  UserNotices* notices_;
  QVariantMap values_;
  bool canLaunchAtLogin_ = false;
  QString formerFolder_;  // while the question is up, and while what is there is moved
  int filesToMove_ = 0;
  bool isMoving_ = false;
  Subscription observation_;
  std::unique_ptr<Change> change_;  // last: its task uses the fields above
};

}  // namespace quillmere
