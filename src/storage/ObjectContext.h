#pragma once
#include <SQLiteCpp/SQLiteCpp.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/OwnThread.h"
#include "base/Result.h"
#include "domain/Errors.h"
#include "storage/ObjectRegistry.h"
#include "storage/StoreFile.h"

namespace quillmere {

// The unit of work over one open store: objects are read into an ObjectRegistry, and what differs there from the store
// is written, column by column. Main thread only.
//
// Another process may hold the store's write lock. Nothing here waits for it longer than the patience: what could not
// be written then stays a change like any other, and isBusy(error) tells the caller to try again later.
class ObjectContext {
 public:
  explicit ObjectContext(std::unique_ptr<SQLite::Database> database);
  ~ObjectContext();
  ObjectContext(const ObjectContext&) = delete;
  ObjectContext& operator=(const ObjectContext&) = delete;

  // A new object, written by the next save.
  template <typename E>
  std::shared_ptr<E> insert(E value = {}) {
    return registry_.insert(std::move(value));
  }
  // The row goes at the next save; see ObjectRegistry::remove.
  template <typename E>
  void remove(const std::shared_ptr<E>& object) {
    registry_.remove(object);
  }
  const ObjectRegistry& registry() const { return registry_; }

  // The objects of "SELECT pk, columns FROM table TAIL", refreshed, without those that are about to be removed. Objects
  // that are still waiting for their first save aren't in it: see ObjectRegistry::inserted.
  template <typename E, typename... Bind>
  Result<std::vector<std::shared_ptr<E>>, PlatformError> fetch(const std::string& tail, const Bind&... values);
  // With those that are waiting, at the end, whether the query is for them or not.
  template <typename E, typename... Bind>
  Result<std::vector<std::shared_ptr<E>>, PlatformError> fetchWithInserted(const std::string& tail,
                                                                           const Bind&... values);
  template <typename E>
  Result<std::vector<std::shared_ptr<E>>, PlatformError> fetchRows(const std::vector<qint64>& rowIds);
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
  // written. Where the transaction can't be had, `body` runs all the same and its changes wait for the next save, which
  // runs `recheck` in its transaction first: there, what `body` had read may be another. Both may outlive the call.
  Result<void, PlatformError> transact(const std::function<void()>& body, std::function<void()> recheck = {});
  // The same for a body that is right in a transaction only: it waits with its changes.
  Result<void, PlatformError> transactInTime(std::function<void()> body);
  // How long one call may wait for the lock. While it is known to be taken no call waits at all.
  void setPatience(std::chrono::milliseconds patience);

  // True when another process has written since the last call; live objects have its values then.
  Result<bool, PlatformError> refreshIfChanged();

  // Which entities the last successful save wrote, in the order of StoreChange.
  struct Written {
    bool modes = false, recordingSessions = false, transcripts = false, vocabulary = false, usageTracking = false;
    bool any() const { return modes || recordingSessions || transcripts || vocabulary || usageTracking; }
  };
  Written takeWritten() { return std::exchange(written_, {}); }

 private:
  using NewRows = std::unordered_map<const void*, qint64>;

  template <typename E>
  std::vector<std::pair<qint64, E>> readRows(SQLite::Statement& statement);
  template <typename E>
  std::shared_ptr<E> objectOfRow(qint64 rowId);
  template <typename E>
  void refreshAll();
  template <typename E>
  std::vector<ObjectRegistry::Written<E>> writeChanges(NewRows& newRows);
  template <typename E>
  void bindColumn(SQLite::Statement& statement, int index, const EntityColumn<E>& column, const E& value,
                  const NewRows& newRows);
  template <typename R>
  void bindReference(SQLite::Statement& statement, int index, const std::shared_ptr<R>& target, const NewRows& newRows);
  template <typename E>
  void removeRows();
  SQLite::Statement& prepared(const std::string& sql);
  std::optional<PlatformError> beginWriting();
  Result<void, PlatformError> writeAndCommit(const std::function<void()>& body);
  // Gives what is to be done after the commit.
  std::function<void()> flush();

  OwnThread thread_;
  std::unique_ptr<SQLite::Database> database_;
  std::unordered_map<std::string, std::unique_ptr<SQLite::Statement>> statements_;
  ObjectRegistry registry_;
  std::vector<std::function<void()>> waiting_;  // for the next transaction, in their order
  std::chrono::milliseconds patience_{};
  qint64 dataVersion_ = 0;
  bool isInTransaction_ = false;
  bool isLockTaken_ = false;
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
      if (auto object = registry_.materialise<E>(rowId, value)) objects.push_back(std::move(object));
    return objects;
  } catch (const SQLite::Exception& exception) {
    return Failed{storeError(exception)};
  }
}

template <typename E, typename... Bind>
Result<std::vector<std::shared_ptr<E>>, PlatformError> ObjectContext::fetchWithInserted(const std::string& tail,
                                                                                        const Bind&... values) {
  TRY(auto objects, fetch<E>(tail, values...));
  const auto& inserted = registry_.inserted<E>();
  objects.insert(objects.end(), inserted.begin(), inserted.end());
  return objects;
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
  TRY(const auto numbers, fetchNumbers(sql, values...));
  return numbers.empty() ? qint64{0} : numbers.front();
}

}  // namespace quillmere
