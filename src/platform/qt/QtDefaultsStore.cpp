#include "platform/qt/QtDefaultsStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QThread>
#include <cmath>

namespace quillmere {

namespace {

constexpr int lockTimeoutMs = 10000;
const QLatin1String jsonMark("json:");

// What a plain text in the file means: `true`, `-5`, `0.5`, or the text itself.
QVariant plainValue(const QString& text) {
  if (text == "true") return true;
  if (text == "false") return false;
  const bool beginsLikeNumber =
      !text.isEmpty() && (text.front() == '-' || (text.front() >= '0' && text.front() <= '9'));
  if (!beginsLikeNumber || text.back().isSpace()) return text;
  bool isNumber = false;
  if (const int number = text.toInt(&isNumber); isNumber) return number;
  if (const qlonglong number = text.toLongLong(&isNumber); isNumber) return number;
  if (const double number = text.toDouble(&isNumber); isNumber && std::isfinite(number)) return number;
  return text;
}

QString encodedJson(const QJsonValue& value) {
  const QString array = QString::fromUtf8(QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact));
  return jsonMark + array.mid(1, array.size() - 2);
}

QString encodedDouble(double number) {
  QString text = QString::number(number, 'g', QLocale::FloatingPointShortest);
  if (std::isfinite(number) && !text.contains('.') && !text.contains('e')) text += ".0";
  return text;
}

QVariant encode(const QVariant& value) {
  switch (value.typeId()) {
    case QMetaType::QByteArray:
      return value;
    case QMetaType::Bool:
      return QString(value.toBool() ? "true" : "false");
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
      return QString::number(value.toLongLong());
    case QMetaType::Float:
    case QMetaType::Double:
      return encodedDouble(value.toDouble());
    case QMetaType::QString: {
      const QString text = value.toString();
      const bool isPlain =
          !text.startsWith(jsonMark) && plainValue(text).typeId() == QMetaType::QString && !text.contains(QChar(0));
      return isPlain ? text : encodedJson(text);
    }
    default:
      return encodedJson(QJsonValue::fromVariant(value));
  }
}

QVariant decode(const QVariant& stored) {
  if (stored.typeId() == QMetaType::QStringList) return stored.toStringList().join(", ");  // an unquoted comma
  if (stored.typeId() != QMetaType::QString) return stored;
  const QString text = stored.toString();
  if (!text.startsWith(jsonMark)) return plainValue(text);
  const QJsonDocument document = QJsonDocument::fromJson('[' + text.mid(jsonMark.size()).toUtf8() + ']');
  return document.array().size() == 1 ? document.array().first().toVariant() : QVariant(text);
}

void apply(QSettings& settings, const QString& key, const QVariant& value) {
  if (value.isValid())
    settings.setValue(key, encode(value));
  else
    settings.remove(key);
}

// The folder of the settings file, for this user alone where it has to be made.
void makeFolderOf(const QString& path) {
  const QString folder = QFileInfo(path).absolutePath();
  QDir().mkpath(QFileInfo(folder).absolutePath());
  QDir().mkdir(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

// What stands in the settings (folders, addresses of services, names of microphones) is nobody else's concern.
// QSettings keeps the mode that a file has.
void closeToOthers(const QString& path) {
  const QByteArray name = QFile::encodeName(path);
  struct stat info {};
  if (::stat(name.constData(), &info) != 0) {
    const int descriptor = ::open(name.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor >= 0) ::close(descriptor);
  } else if (info.st_uid == ::geteuid() && (info.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    // Where the file system knows no modes it stays as it is.
    [[maybe_unused]] const int changed = ::chmod(name.constData(), info.st_mode & S_IRWXU);
  }
}

bool sameVariant(const QVariant& a, const QVariant& b) {
  return a.typeId() == b.typeId() && a == b;
}

// The turn of one writer among all processes: the kernel's lock on the folder, which leaves no file behind and ends
// with its holder.
class WritersTurn {
 public:
  explicit WritersTurn(const QString& folder)
      : folder_(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    for (int waitedMs = 0; folder_ >= 0 && !isTaken_ && waitedMs < lockTimeoutMs; waitedMs += pollMs) {
      isTaken_ = ::flock(folder_, LOCK_EX | LOCK_NB) == 0;
      if (!isTaken_) ::usleep(pollMs * 1000);
    }
  }
  ~WritersTurn() {
    if (folder_ >= 0) ::close(folder_);
  }
  WritersTurn(const WritersTurn&) = delete;
  WritersTurn& operator=(const WritersTurn&) = delete;
  bool isTaken() const { return isTaken_; }

 private:
  static constexpr int pollMs = 2;
  int folder_;
  bool isTaken_ = false;
};

}  // namespace

QtDefaultsStore::QtDefaultsStore(const QString& filePath)
    : path_(QFileInfo(filePath).absoluteFilePath()), mainThreadContext_(std::make_unique<QObject>()) {
  const std::lock_guard lock(mutex_);
  reloadIfChanged();
  watch();
}

QtDefaultsStore::~QtDefaultsStore() = default;

QtDefaultsStore::FileState QtDefaultsStore::fileState() const {
  struct stat info {};
  if (::stat(QFile::encodeName(path_).constData(), &info) != 0) return {};
  return {true, info.st_dev, info.st_ino, info.st_mtim.tv_sec * 1'000'000'000LL + info.st_mtim.tv_nsec,
          static_cast<qint64>(info.st_size)};
}

QStringList QtDefaultsStore::reloadIfChanged() const {
  const FileState now = fileState();
  if (now == seen_) return {};
  QHash<QString, QVariant> content;
  if (now.exists) {
    QSettings settings(path_, QSettings::IniFormat);
    settings.sync();
    for (const QString& key : settings.allKeys()) content.insert(key, decode(settings.value(key)));
  }
  for (auto entry = unwritten_.begin(); entry != unwritten_.end(); ++entry) {
    if (entry->isValid())
      content.insert(entry.key(), *entry);
    else
      content.remove(entry.key());
  }
  QStringList changed;
  for (auto entry = content.begin(); entry != content.end(); ++entry)
    if (!sameVariant(values_.value(entry.key()), *entry)) changed << entry.key();
  for (auto entry = values_.begin(); entry != values_.end(); ++entry)
    if (!content.contains(entry.key())) changed << entry.key();
  values_ = std::move(content);
  seen_ = now;
  return changed;
}

QVariant QtDefaultsStore::value(const QString& key) const {
  const std::lock_guard lock(mutex_);
  announce(reloadIfChanged(), false);
  return values_.value(key);
}

QStringList QtDefaultsStore::keys() const {
  const std::lock_guard lock(mutex_);
  announce(reloadIfChanged(), false);
  QStringList keys = values_.keys();
  keys.sort();
  return keys;
}

bool QtDefaultsStore::setValue(const QString& key, const QVariant& value) {
  return write(key, value);
}
bool QtDefaultsStore::remove(const QString& key) {
  return write(key, {});
}

bool QtDefaultsStore::write(const QString& key, const QVariant& value) {
  bool isWritten = false;
  QStringList changed;
  {
    const std::lock_guard lock(mutex_);
    changed = reloadIfChanged();
    if (!sameVariant(values_.value(key), value) && !changed.contains(key)) changed << key;
    unwritten_.insert(key, value);
    makeFolderOf(path_);
    // QSettings knows a changed file by its time in milliseconds and its size. Writers take turns and each leaves a
    // later time behind, so that no write can be mistaken for the one before it.
    const WritersTurn turn(QFileInfo(path_).absolutePath());
    if (turn.isTaken()) {
      const FileState before = fileState();
      closeToOthers(path_);
      {
        QSettings settings(path_, QSettings::IniFormat);
        settings.sync();
        for (auto entry = unwritten_.begin(); entry != unwritten_.end(); ++entry) apply(settings, entry.key(), *entry);
        settings.sync();
        isWritten = settings.status() == QSettings::NoError;
      }
      const FileState after = fileState();
      constexpr qint64 oneMs = 1'000'000;
      if (isWritten && before.exists && after.modifiedNs / oneMs <= before.modifiedNs / oneMs) {
        const qint64 later = (before.modifiedNs / oneMs + 1) * oneMs;
        const timespec times[2] = {{0, UTIME_OMIT}, {later / 1'000'000'000, later % 1'000'000'000}};
        ::utimensat(AT_FDCWD, QFile::encodeName(path_).constData(), times, 0);
      }
      if (isWritten) unwritten_.clear();
      // What others wrote just before counts as changed too.
      for (const QString& other : reloadIfChanged())
        if (!changed.contains(other)) changed << other;
    }
    if (!isWritten) {
      if (value.isValid())
        values_.insert(key, value);
      else
        values_.remove(key);
    }
  }
  announce(changed, true);
  return isWritten;
}

int QtDefaultsStore::addObserver(std::function<void(const QString&)> observer) {
  const std::lock_guard lock(mutex_);
  observers_[nextToken_] = std::make_shared<std::function<void(const QString&)>>(std::move(observer));
  return nextToken_++;
}

void QtDefaultsStore::removeObserver(int token) {
  const std::lock_guard lock(mutex_);
  observers_.erase(token);
}

void QtDefaultsStore::tellObservers(const QStringList& keys) {
  for (const QString& key : keys) {
    std::vector<std::pair<int, std::shared_ptr<std::function<void(const QString&)>>>> observers;
    {
      const std::lock_guard lock(mutex_);
      observers.assign(observers_.begin(), observers_.end());
    }
    for (const auto& [token, observer] : observers) {
      {
        const std::lock_guard lock(mutex_);
        if (!observers_.contains(token)) continue;  // ended by an observer before it
      }
      (*observer)(key);
    }
  }
}

void QtDefaultsStore::announce(const QStringList& keys, bool now) const {
  if (keys.isEmpty()) return;
  auto* self = const_cast<QtDefaultsStore*>(this);
  if (now && QThread::currentThread() == mainThreadContext_->thread()) {
    self->tellObservers(keys);
    return;
  }
  QMetaObject::invokeMethod(
      mainThreadContext_.get(), [self, keys] { self->tellObservers(keys); }, Qt::QueuedConnection);
}

void QtDefaultsStore::watch() {
  if (!QCoreApplication::instance()) return;
  if (!watcher_) {
    watcher_ = std::make_unique<QFileSystemWatcher>();
    const auto look = [this] { lookForChanges(); };
    QObject::connect(watcher_.get(), &QFileSystemWatcher::fileChanged, mainThreadContext_.get(), look);
    QObject::connect(watcher_.get(), &QFileSystemWatcher::directoryChanged, mainThreadContext_.get(), look);
  }
  // A file that was replaced is no longer watched; a folder that isn't there yet can't be.
  makeFolderOf(path_);
  for (const QString& wanted : {path_, QFileInfo(path_).absolutePath()})
    if (QFileInfo::exists(wanted) && !watcher_->files().contains(wanted) && !watcher_->directories().contains(wanted))
      watcher_->addPath(wanted);
}

void QtDefaultsStore::lookForChanges() {
  QStringList changed;
  {
    const std::lock_guard lock(mutex_);
    watch();
    changed = reloadIfChanged();
  }
  tellObservers(changed);
}

}  // namespace quillmere
