#pragma once
#include <QFileSystemWatcher>
#include <QHash>
#include <QObject>
#include <QSettings>
#include <QString>
#include <map>
#include <memory>
#include <mutex>

#include "ports/DefaultsStore.h"

namespace quillmere {

// The defaults store as an INI file that a person can read and edit and that several processes share.
//
// Every write goes to the disk before setValue() returns: under a lock, merged with what others have written, and as a
// whole new file. Keys that nobody here knows are kept. Types survive: `true`, `5`, `0.5` and plain text are written as
// such, everything else as JSON after "json:" (bytes as QSettings writes them).
//
// Changes by other processes are seen by the next read of any key, by a look at the file's times, and told to the
// observers when the event loop hears of them. Made on the main thread, which must have an application object for that.
class QtDefaultsStore final : public DefaultsStore {
 public:
  explicit QtDefaultsStore(const QString& filePath);
  ~QtDefaultsStore() override;

  QVariant value(const QString& key) const override;
  bool setValue(const QString& key, const QVariant& value) override;
  bool remove(const QString& key) override;
  QStringList keys() const override;
  int addObserver(std::function<void(const QString& key)> observer) override;
  void removeObserver(int token) override;

 private:
  struct FileState {
    bool exists = false;
    quint64 device = 0, inode = 0;
    qint64 modifiedNs = 0, sizeBytes = 0;
    bool operator==(const FileState&) const = default;
  };
  FileState fileState() const;
  // With the mutex held: takes over the file's content if it is another one; the keys that changed.
  QStringList reloadIfChanged() const;
  bool write(const QString& key, const QVariant& value);
  void watch();
  void lookForChanges();
  void tellObservers(const QStringList& keys);
  // From any thread: now if on the main thread and `now`, else as soon as its event loop runs.
  void announce(const QStringList& keys, bool now) const;

  const QString path_;
  mutable std::recursive_mutex mutex_;
  mutable QHash<QString, QVariant> values_;
  mutable FileState seen_;
  QHash<QString, QVariant> unwritten_;  // what the disk refused; an invalid value is a removal
  std::map<int, std::shared_ptr<std::function<void(const QString&)>>> observers_;
  int nextToken_ = 1;
  std::unique_ptr<QObject> mainThreadContext_;
  std::unique_ptr<QFileSystemWatcher> watcher_;
};

}  // namespace quillmere
