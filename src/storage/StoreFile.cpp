#include "storage/StoreFile.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <QFileInfo>
#include <QtEndian>
#include <cerrno>
#include <cstring>

#include "storage/PrivateFolder.h"
#include "storage/StoreSchema.h"
#include "storage/WordTokenizer.h"

namespace quillmere {

namespace {

// Another process's lock is waited for in all attempts together up to 10 s.
constexpr int busyTimeoutMs = 25;
constexpr int openAttempts = 200;
constexpr int pauseBetweenAttemptsMs = 25;
// Up to this size the whole file is checked at every start; it takes a few milliseconds.
constexpr qint64 fullCheckLimitBytes = 4 * 1024 * 1024;

PlatformError fileError(int code, const QString& description) {
  return {"filesystem", code, description};
}
PlatformError fileError(int code) {
  return fileError(code, QString::fromLocal8Bit(std::strerror(code)));
}
PlatformError foreignFile() {
  return {"sqlite", SQLITE_NOTADB, "the file is not a Quillmere database"};
}
PlatformError damagedFile(const QString& detail) {
  return {"sqlite", SQLITE_CORRUPT, "the database is damaged: " + detail};
}
PlatformError newerStore(int version) {
  return {
      "sqlite", SQLITE_MISMATCH,
      QString("the database was written by a newer version of the program (schema version %1, this program knows %2)")
          .arg(version)
          .arg(latestSchemaVersion())};
}

// Looks at the file's head without SQLite, which would already touch a foreign file's journal.
std::optional<PlatformError> inspectHeader(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return fileError(errno ? errno : EACCES, file.errorString());
  const QByteArray head = file.read(100);
  if (head.isEmpty()) return std::nullopt;  // nothing in it yet
  if (head.size() < 100 || !head.startsWith(QByteArray("SQLite format 3\0", 16)))
    return PlatformError{"sqlite", SQLITE_NOTADB, "file is not a database"};
  if (qFromBigEndian<qint32>(head.constData() + 68) != storeApplicationId) return foreignFile();
  if (const int version = qFromBigEndian<qint32>(head.constData() + 60); version > latestSchemaVersion())
    return newerStore(version);
  return std::nullopt;
}

int pragmaNumber(SQLite::Database& database, const char* pragma) {
  return database.execAndGet(std::string("PRAGMA ") + pragma).getInt();
}

bool isNewStore(SQLite::Database& database) {
  return pragmaNumber(database, "application_id") == 0 && pragmaNumber(database, "user_version") == 0 &&
         database.execAndGet("SELECT count(*) FROM sqlite_master").getInt() == 0;
}

void runStep(SQLite::Database& database, const SchemaVersion& step) {
  for (const char* statement : step.statements) database.exec(statement);
  database.exec("PRAGMA user_version = " + std::to_string(step.version));
}

// The first schema goes into the file with its application id in one transaction of the rollback journal, so that no
// later look at the file's head can take it for a foreign one. The write-ahead log comes after that.
void createIfNew(SQLite::Database& database) {
  if (!isNewStore(database)) return;
  database.exec("BEGIN EXCLUSIVE");
  if (isNewStore(database)) {
    database.exec("PRAGMA application_id = " + std::to_string(storeApplicationId));
    for (const SchemaVersion& step : schemaVersions()) runStep(database, step);
  }
  database.exec("COMMIT");
}

void migrate(SQLite::Database& database, const Logger& log) {
  for (const SchemaVersion& step : schemaVersions()) {
    if (pragmaNumber(database, "user_version") >= step.version) continue;
    database.exec("BEGIN IMMEDIATE");
    const int present = pragmaNumber(database, "user_version");  // another process may have been faster
    if (present < step.version) {
      log.notice("Migrating from v%{public}s to v%{public}s", QString::number(present), QString::number(step.version));
      runStep(database, step);
    }
    database.exec("COMMIT");
  }
}

// A look at every table; SQLite notices a truncated file at the first read.
std::optional<PlatformError> findDamage(SQLite::Database& database, qint64 fileSizeBytes) {
  for (const char* table :
       {"Mode", "RecordingSession", "Transcript", "Vocabulary", "UsageTracking", "TranscriptText", "TranscriptPieces"})
    if (!database.tableExists(table)) return damagedFile(QString("table %1 is missing").arg(table));
  if (fileSizeBytes > fullCheckLimitBytes) {
    for (const char* table : {"Mode", "RecordingSession", "Transcript", "Vocabulary", "UsageTracking"})
      SQLite::Statement(database, std::string("SELECT * FROM ") + table + " ORDER BY pk DESC LIMIT 1").executeStep();
    return std::nullopt;
  }
  SQLite::Statement check(database, "PRAGMA quick_check(1)");
  if (check.executeStep() && check.getColumn(0).getString() != "ok")
    return damagedFile(QString::fromStdString(check.getColumn(0).getString()).trimmed());
  return std::nullopt;
}

// Creates the file for its owner's eyes only; its log files get the same mode. True when this call made it.
bool createPrivateFile(const QString& path) {
  const int descriptor =
      ::open(QFile::encodeName(path).constData(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (descriptor < 0) return false;
  ::close(descriptor);
  return true;
}

// A store that came from a backup or another machine may lie open to others, and its log files with it.
void closeToOthers(const QString& path) {
  constexpr mode_t others = S_IRWXG | S_IRWXO;
  for (const char* tail : {"", "-wal", "-shm"}) {
    const QByteArray name = QFile::encodeName(path) + tail;
    struct stat status {};
    if (::stat(name.constData(), &status) != 0 || status.st_uid != ::geteuid() || (status.st_mode & others) == 0)
      continue;
    // Where the file system knows no modes it stays as it is.
    [[maybe_unused]] const int changed = ::chmod(name.constData(), status.st_mode & 07777 & ~others);
  }
}

Result<std::unique_ptr<SQLite::Database>, PlatformError> openOnce(const std::optional<QString>& path,
                                                                  const Logger& log) {
  if (path) {
    const QFileInfo info(*path);
    if (info.isDir()) return Failed{fileError(EISDIR)};
    if (info.exists()) {
      if (auto error = inspectHeader(*path)) return Failed{*error};
      closeToOthers(*path);
    } else {
      if (!makePrivateFolder(info.absolutePath()))
        return Failed{fileError(EACCES, "the folder " + info.absolutePath() + " can't be created")};
      if (!createPrivateFile(*path) && errno != EEXIST) return Failed{fileError(errno)};
    }
  }
  const std::string name = path ? QFileInfo(*path).absoluteFilePath().toStdString() : ":memory:";
  auto database = std::make_unique<SQLite::Database>(name, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
  sqlite3* handle = database->getHandle();
  database->setBusyTimeout(busyTimeoutMs);
  // Until the store is known to be sound and ours, closing it must not move the log into the file.
  sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 0, nullptr);
  if (sqlite3_db_readonly(handle, "main") == 1) return Failed{fileError(EACCES)};
  if (const int rc = registerWordTokenizer(handle); rc != SQLITE_OK) throw SQLite::Exception(handle, rc);
  createIfNew(*database);
  if (pragmaNumber(*database, "application_id") != storeApplicationId) return Failed{foreignFile()};
  if (const int version = pragmaNumber(*database, "user_version"); version > latestSchemaVersion())
    return Failed{newerStore(version)};
  migrate(*database, log);
  if (auto damage = findDamage(*database, path ? QFileInfo(*path).size() : 0)) return Failed{*damage};
  if (path) {
    // Each statement must be over before the next: the mode can't change while one is being read.
    std::string journal = database->execAndGet("PRAGMA journal_mode").getString();
    if (journal != "wal") journal = database->execAndGet("PRAGMA journal_mode = WAL").getString();
    if (journal != "wal")
      return Failed{PlatformError{"sqlite", SQLITE_IOERR, "the write-ahead log can't be used in this folder"}};
  }
  database->exec("PRAGMA foreign_keys = ON");
  database->exec("PRAGMA cache_size = -16000");
  sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
  return database;
}

}  // namespace

bool isBusy(const PlatformError& error) {
  return error.domain == "sqlite" && ((error.code & 0xff) == SQLITE_BUSY || (error.code & 0xff) == SQLITE_LOCKED);
}

PlatformError storeError(const SQLite::Exception& exception) {
  return {"sqlite", exception.getExtendedErrorCode(), QString::fromUtf8(exception.what())};
}

Result<std::unique_ptr<SQLite::Database>, PlatformError> openStore(const std::optional<QString>& path,
                                                                   const Logger& log) {
  const bool wasThere = !path || QFileInfo::exists(*path);
  for (int attempt = 1;; ++attempt) {
    std::optional<PlatformError> error;
    try {
      auto database = openOnce(path, log);
      if (database) return database;
      error = database.error();
    } catch (const SQLite::Exception& exception) {
      // Changing the journal of a new store is the one thing that SQLite doesn't wait for by itself.
      if (isBusy(storeError(exception)) && attempt < openAttempts) {
        sqlite3_sleep(pauseBetweenAttemptsMs);
        continue;
      }
      error = storeError(exception);
    }
    // Ours alone and still empty: don't leave it behind.
    if (!wasThere && QFileInfo(*path).size() == 0) QFile::remove(*path);
    return Failed{*error};
  }
}

}  // namespace quillmere
