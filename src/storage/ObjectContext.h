#pragma once
#include <SQLiteCpp/SQLiteCpp.h>

#include <QSet>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "base/OwnThread.h"
#include "base/Result.h"
#include "domain/Errors.h"
#include "storage/EntityColumns.h"
#include "storage/StoreFile.h"

namespace quillmere {

// The identity map and unit of work over one open store.
//
// Every row that somebody holds has one object and one record here. A record keeps the values that the store is known
// to have; what differs from them at a save is written, column by column. Records refer to their objects weakly; an
// object whose last holder lets go of it while it differs comes back through its deleter and is kept until it is
// written. Main thread only.
class ObjectContext {
 public:
  explicit ObjectContext(std::unique_ptr<SQLite::Database> database);
  ~ObjectContext();
  ObjectContext(const ObjectContext&) = delete;
  ObjectContext& operator=(const ObjectContext&) = delete;

  // A new object, written by the next save.
  template <typename E>
  std::shared_ptr<E> insert(E value = {});
  // The row goes at the next save; the object stays readable, changes to it are ignored, references to it become empty.
  template <typename E>
  void remove(const std::shared_ptr<E>& object);

  // The objects of "SELECT pk, columns FROM table TAIL", refreshed, without those that are about to be removed. Objects
  // that are still waiting for their first save aren't in it: see pendingInserts.
  template <typename E, typename... Bind>
  Result<std::vector<std::shared_ptr<E>>, PlatformError> fetch(const std::string& tail, const Bind&... values);
  template <typename E>
  Result<std::vector<std::shared_ptr<E>>, PlatformError> fetchRows(const std::vector<qint64>& rowIds);
  template <typename E>
  std::vector<std::shared_ptr<E>> pendingInserts() const;
  template <typename E>
  qint64 pendingRemovalCount() const;
  // 0 for an object without a row.
  template <typename E>
  qint64 rowId(const std::shared_ptr<E>& object) const;
  // The first column of the first row.
  template <typename... Bind>
  Result<qint64, PlatformError> fetchNumber(const std::string& sql, const Bind&... values);
  template <typename... Bind>
  Result<std::vector<qint64>, PlatformError> fetchNumbers(const std::string& sql, const Bind&... values);
  // With as many values as there are at run time.
  Result<std::vector<qint64>, PlatformError> fetchNumbers(const std::string& sql, const QStringList& values);

  // Hands the first column of each row to `visit` until that gives false.
  Result<void, PlatformError> visitNumbers(const std::string& sql, const std::function<bool(qint64)>& visit);

  bool hasChanges() const;
  // Writes everything that differs, in one transaction. After a failure nothing is written and everything still
  // differs.
  Result<void, PlatformError> save();
  // Runs `body` and the save in one write transaction, so that what `body` reads still holds when its changes are
  // written. `body` runs even where the transaction can't be had; its changes then wait for the next save.
  Result<void, PlatformError> transact(const std::function<void()>& body);

  // True when another process has written since the last call; live objects have its values then.
  Result<bool, PlatformError> refreshIfChanged();

  // Which entities the last successful save wrote, in the order of StoreChange.
  struct Written {
    bool modes = false, recordingSessions = false, transcripts = false, vocabulary = false, usageTracking = false;
    bool any() const { return modes || recordingSessions || transcripts || vocabulary || usageTracking; }
  };
  Written takeWritten() { return std::exchange(written_, {}); }

 private:
  enum class RecordState { inserted, stored, removed };
  template <typename E>
  struct Record {
    RecordState state = RecordState::stored;
    qint64 rowId = 0;
    E stored;  // what the store has
    std::weak_ptr<E> object;
    std::shared_ptr<E> kept;  // changed, and held by nobody else
  };
  template <typename E>
  struct Registry {
    std::unordered_map<const E*, std::unique_ptr<Record<E>>> records;
    std::unordered_map<qint64, Record<E>*> byRow;
    std::vector<std::shared_ptr<E>> inserted;  // in order of their making
    std::unordered_set<qint64> removedRows;
  };
  struct Registries : std::tuple<Registry<Mode>, Registry<RecordingSession>, Registry<Transcript>, Registry<Vocabulary>,
                                 Registry<UsageTracking>> {
    OwnThread thread;
    template <typename E>
    Registry<E>& of() {
      return std::get<Registry<E>>(*this);
    }
  };
  template <typename E>
  struct PendingWrite {
    Record<E>* record;
    std::shared_ptr<E> object;
    E value;
    qint64 rowId;
    bool isGone;
  };

  template <typename E>
  static void letGo(const std::weak_ptr<Registries>& registries, E* object);
  template <typename E>
  std::shared_ptr<E> adopt(std::unique_ptr<E> object, RecordState state, qint64 rowId);
  template <typename E>
  void forgetReferences(const std::shared_ptr<E>& removed);
  template <typename E>
  std::shared_ptr<E> materialise(qint64 rowId, const E& value);
  template <typename E>
  static void merge(Record<E>& record, E& object, const E& value);
  template <typename E>
  std::vector<std::pair<qint64, E>> readRows(SQLite::Statement& statement);
  template <typename E>
  std::shared_ptr<E> objectOfRow(qint64 rowId);
  template <typename E>
  bool hasChangesOf() const;
  template <typename E>
  std::vector<PendingWrite<E>> writeChanges(std::unordered_map<const void*, qint64>& newRows);
  template <typename E>
  void removeRows();
  template <typename E>
  bool settle(std::vector<PendingWrite<E>>& writes);
  template <typename E>
  void refreshAll();
  template <typename E, typename R>
  void bindReference(SQLite::Statement& statement, int index, const std::shared_ptr<R>& target,
                     const std::unordered_map<const void*, qint64>& newRows);
  SQLite::Statement& prepared(const std::string& sql);
  void flush();
  void beginWriting();

  std::unique_ptr<SQLite::Database> database_;
  std::unordered_map<std::string, std::unique_ptr<SQLite::Statement>> statements_;
  std::shared_ptr<Registries> registries_ = std::make_shared<Registries>();
  std::function<void()> settleAll_;
  qint64 dataVersion_ = 0;
  bool isInTransaction_ = false;
  Written written_;
};

// Leaves a prepared statement without a row under it, so that no read transaction stays open.
class StatementGuard {
 public:
  explicit StatementGuard(SQLite::Statement& statement) : statement_(statement) {}
  ~StatementGuard() {
    statement_.tryReset();
    try {
      statement_.clearBindings();
    } catch (const SQLite::Exception&) {
      // An error of the statement's last step is told again here; whoever stepped has had it.
    }
  }
  StatementGuard(const StatementGuard&) = delete;
  StatementGuard& operator=(const StatementGuard&) = delete;

 private:
  SQLite::Statement& statement_;
};

// --- templates that callers instantiate with their own arguments

template <typename E>
const std::string& selectClause() {
  static const std::string clause = [] {
    std::string sql = "SELECT pk";
    for (const auto& column : EntityTable<E>::columns) sql += std::string(", ") + column.name;
    return sql + " FROM " + EntityTable<E>::name + " ";
  }();
  return clause;
}

template <typename E, typename... Bind>
Result<std::vector<std::shared_ptr<E>>, PlatformError> ObjectContext::fetch(const std::string& tail,
                                                                            const Bind&... values) {
  try {
    SQLite::Statement& statement = prepared(selectClause<E>() + tail);
    std::vector<std::pair<qint64, E>> rows;
    {
      StatementGuard guard(statement);
      int index = 0;
      (bindValue(statement, ++index, values), ...);
      rows = readRows<E>(statement);
    }
    std::vector<std::shared_ptr<E>> objects;
    objects.reserve(rows.size());
    for (auto& [rowId, value] : rows)
      if (auto object = materialise<E>(rowId, value)) objects.push_back(std::move(object));
    return objects;
  } catch (const SQLite::Exception& exception) {
    return Failed{storeError(exception)};
  }
}

template <typename... Bind>
Result<std::vector<qint64>, PlatformError> ObjectContext::fetchNumbers(const std::string& sql, const Bind&... values) {
  try {
    SQLite::Statement& statement = prepared(sql);
    StatementGuard guard(statement);
    int index = 0;
    (bindValue(statement, ++index, values), ...);
    std::vector<qint64> numbers;
    while (statement.executeStep()) numbers.push_back(statement.getColumn(0).getInt64());
    return numbers;
  } catch (const SQLite::Exception& exception) {
    return Failed{storeError(exception)};
  }
}

template <typename... Bind>
Result<qint64, PlatformError> ObjectContext::fetchNumber(const std::string& sql, const Bind&... values) {
  auto numbers = fetchNumbers(sql, values...);
  if (!numbers) return Failed{numbers.error()};
  return numbers->empty() ? qint64{0} : numbers->front();
}

}  // namespace quillmere
