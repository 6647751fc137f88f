#include "storage/ObjectContext.h"

#include <sqlite3.h>

namespace quillmere {

namespace {

template <typename E>
const std::string& insertStatement() {
  static const std::string sql = [] {
    std::string names, marks;
    for (const auto& column : EntityTable<E>::columns) {
      names += (names.empty() ? "" : ", ") + std::string(column.name);
      marks += marks.empty() ? "?" : ", ?";
    }
    return std::string("INSERT INTO ") + EntityTable<E>::name + " (" + names + ") VALUES (" + marks + ")";
  }();
  return sql;
}

}  // namespace

ObjectContext::ObjectContext(std::unique_ptr<SQLite::Database> database) : database_(std::move(database)) {
  if (auto version = fetchNumber("PRAGMA data_version")) dataVersion_ = *version;
}

ObjectContext::~ObjectContext() = default;

SQLite::Statement& ObjectContext::prepared(const std::string& sql) {
  thread_.assertCurrent();
  auto& statement = statements_[sql];
  if (!statement) {
    try {
      statement = std::make_unique<SQLite::Statement>(*database_, sql);
    } catch (...) {
      statements_.erase(sql);
      throw;
    }
  }
  return *statement;
}

// --- reading

template <typename E>
std::vector<std::pair<qint64, E>> ObjectContext::readRows(SQLite::Statement& statement) {
  struct Reference {
    size_t row;
    size_t column;
    qint64 target;
  };
  std::vector<std::pair<qint64, E>> rows;
  std::vector<Reference> references;
  while (statement.executeStep()) {
    auto& [rowId, value] = rows.emplace_back();
    rowId = statement.getColumn(0).getInt64();
    for (size_t i = 0; i < EntityTable<E>::columns.size(); ++i) {
      const SQLite::Column column = statement.getColumn(static_cast<int>(i) + 1);
      if (column.isNull()) continue;
      std::visit(
          [&](auto field) {
            using Value = std::remove_reference_t<decltype(value.*field)>;
            if constexpr (std::is_same_v<Value, std::shared_ptr<Mode>> ||
                          std::is_same_v<Value, std::shared_ptr<RecordingSession>>)
              references.push_back({rows.size() - 1, i, column.getInt64()});
            else
              readValue(column, value.*field);
          },
          EntityTable<E>::columns[i].field);
    }
  }
  statement.reset();  // before the references are looked up
  for (const Reference& reference : references)
    std::visit(
        [&](auto field) {
          E& value = rows[reference.row].second;
          using Value = std::remove_reference_t<decltype(value.*field)>;
          if constexpr (std::is_same_v<Value, std::shared_ptr<Mode>>)
            value.*field = objectOfRow<Mode>(reference.target);
          else if constexpr (std::is_same_v<Value, std::shared_ptr<RecordingSession>>)
            value.*field = objectOfRow<RecordingSession>(reference.target);
        },
        EntityTable<E>::columns[reference.column].field);
  return rows;
}

template <typename E>
std::shared_ptr<E> ObjectContext::objectOfRow(qint64 rowId) {
  if (auto object = registry_.find<E>(rowId)) return object;
  if (registry_.removedRows<E>().contains(rowId)) return nullptr;
  SQLite::Statement& statement = prepared(selectClause<E>() + "WHERE pk = ?");
  StatementGuard guard(statement);
  bindValue(statement, 1, rowId);
  auto rows = readRows<E>(statement);
  return rows.empty() ? nullptr : registry_.materialise<E>(rowId, rows.front().second);
}

template <typename E>
Result<std::vector<std::shared_ptr<E>>, PlatformError> ObjectContext::fetchRows(const std::vector<qint64>& rowIds) {
  try {
    std::vector<std::shared_ptr<E>> objects;
    objects.reserve(rowIds.size());
    SQLite::Statement& statement = prepared(selectClause<E>() + "WHERE pk = ?");
    for (const qint64 rowId : rowIds) {
      StatementGuard guard(statement);
      bindValue(statement, 1, rowId);
      auto rows = readRows<E>(statement);
      if (rows.empty()) continue;
      if (auto object = registry_.materialise<E>(rowId, rows.front().second)) objects.push_back(std::move(object));
    }
    return objects;
  } catch (const SQLite::Exception& exception) {
    return Failed{storeError(exception)};
  }
}

Result<std::vector<qint64>, PlatformError> ObjectContext::fetchNumbers(const std::string& sql,
                                                                       const QStringList& values) {
  try {
    SQLite::Statement& statement = prepared(sql);
    StatementGuard guard(statement);
    for (int i = 0; i < values.size(); ++i) bindValue(statement, i + 1, values[i]);
    std::vector<qint64> numbers;
    while (statement.executeStep()) numbers.push_back(statement.getColumn(0).getInt64());
    return numbers;
  } catch (const SQLite::Exception& exception) {
    return Failed{storeError(exception)};
  }
}

Result<void, PlatformError> ObjectContext::visitNumbers(const std::string& sql,
                                                        const std::function<bool(qint64)>& visit) {
  try {
    SQLite::Statement& statement = prepared(sql);
    StatementGuard guard(statement);
    while (statement.executeStep())
      if (!visit(statement.getColumn(0).getInt64())) break;
    return {};
  } catch (const SQLite::Exception& exception) {
    return Failed{storeError(exception)};
  }
}

template <typename E>
void ObjectContext::refreshAll() {
  SQLite::Statement& statement = prepared(selectClause<E>() + "WHERE pk = ?");
  for (const auto& object : registry_.stored<E>(false)) {
    const qint64 row = registry_.rowId(object);
    StatementGuard guard(statement);
    bindValue(statement, 1, row);
    auto rows = readRows<E>(statement);
    if (rows.empty())
      registry_.rowIsGone(object);
    else
      registry_.materialise<E>(row, rows.front().second);
  }
}

Result<bool, PlatformError> ObjectContext::refreshIfChanged() {
  TRY(const qint64 version, fetchNumber("PRAGMA data_version"));
  if (version == dataVersion_) return false;
  try {
    forEachEntity([this]<typename E>(std::type_identity<E>) { refreshAll<E>(); });
  } catch (const SQLite::Exception& exception) {
    return Failed{storeError(exception)};
  }
  dataVersion_ = version;
  return true;
}

// --- writing

bool ObjectContext::hasChanges() const {
  return !waiting_.empty() || registry_.hasChanges();
}

template <typename R>
void ObjectContext::bindReference(SQLite::Statement& statement, int index, const std::shared_ptr<R>& target,
                                  const NewRows& newRows) {
  if (!target) return statement.bind(index);
  qint64 row = registry_.rowId(target);
  if (const auto fresh = newRows.find(target.get()); fresh != newRows.end()) row = fresh->second;
  const std::string table = EntityTable<R>::name;
  // Another process may have removed the target meanwhile; an object that isn't from here is known by its id.
  if (row != 0)
    row = fetchNumber("SELECT pk FROM " + table + " WHERE pk = ?", row).valueOr(0);
  else if (target->id)
    row = fetchNumber("SELECT pk FROM " + table + " WHERE id = ? LIMIT 1", *target->id).valueOr(0);
  if (row != 0)
    bindValue(statement, index, row);
  else
    statement.bind(index);
}

template <typename E>
void ObjectContext::bindColumn(SQLite::Statement& statement, int index, const EntityColumn<E>& column, const E& value,
                               const NewRows& newRows) {
  std::visit(
      [&](auto field) {
        using Value = std::remove_cvref_t<decltype(value.*field)>;
        if constexpr (std::is_same_v<Value, std::shared_ptr<Mode>> ||
                      std::is_same_v<Value, std::shared_ptr<RecordingSession>>)
          bindReference(statement, index, value.*field, newRows);
        else if (value.*field)
          bindValue(statement, index, *(value.*field));
        else
          statement.bind(index);
      },
      column.field);
}

template <typename E>
std::vector<ObjectRegistry::Written<E>> ObjectContext::writeChanges(NewRows& newRows) {
  std::vector<ObjectRegistry::Written<E>> writes;
  for (const auto& object : registry_.inserted<E>()) {
    SQLite::Statement& statement = prepared(insertStatement<E>());
    StatementGuard guard(statement);
    int index = 0;
    for (const auto& column : EntityTable<E>::columns) bindColumn(statement, ++index, column, *object, newRows);
    statement.exec();
    const qint64 row = database_->getLastInsertRowid();
    newRows[object.get()] = row;
    writes.push_back({&registry_.recordOf(object), object, *object, row, false});
  }
  for (const auto& object : registry_.stored<E>(true)) {
    auto& record = registry_.recordOf(object);
    std::string assignments;
    for (const auto& column : EntityTable<E>::columns)
      if (!sameColumn(column, *object, record.stored))
        assignments += (assignments.empty() ? "" : ", ") + std::string(column.name) + " = ?";
    SQLite::Statement& statement =
        prepared(std::string("UPDATE ") + EntityTable<E>::name + " SET " + assignments + " WHERE pk = ?");
    StatementGuard guard(statement);
    int index = 0;
    for (const auto& column : EntityTable<E>::columns)
      if (!sameColumn(column, *object, record.stored)) bindColumn(statement, ++index, column, *object, newRows);
    bindValue(statement, ++index, record.rowId);
    const bool isGone = statement.exec() == 0;
    writes.push_back({&record, object, *object, record.rowId, isGone});
  }
  return writes;
}

template <typename E>
void ObjectContext::removeRows() {
  SQLite::Statement& statement = prepared(std::string("DELETE FROM ") + EntityTable<E>::name + " WHERE pk = ?");
  for (const qint64 row : registry_.removedRows<E>()) {
    StatementGuard guard(statement);
    bindValue(statement, 1, row);
    statement.exec();
  }
}

std::function<void()> ObjectContext::flush() {
  using Writes =
      std::tuple<std::vector<ObjectRegistry::Written<Mode>>, std::vector<ObjectRegistry::Written<RecordingSession>>,
                 std::vector<ObjectRegistry::Written<Transcript>>, std::vector<ObjectRegistry::Written<Vocabulary>>,
                 std::vector<ObjectRegistry::Written<UsageTracking>>>;
  NewRows newRows;
  auto writes = std::make_shared<Writes>();
  forEachEntity([&]<typename E>(std::type_identity<E>) {
    std::get<std::vector<ObjectRegistry::Written<E>>>(*writes) = writeChanges<E>(newRows);
  });
  forEachEntity([this]<typename E>(std::type_identity<E>) { removeRows<E>(); });
  return [this, writes] {
    const auto settled = [&]<typename E>(std::type_identity<E>) {
      return registry_.settle(std::get<std::vector<ObjectRegistry::Written<E>>>(*writes));
    };
    written_.modes |= settled(std::type_identity<Mode>());
    written_.recordingSessions |= settled(std::type_identity<RecordingSession>());
    written_.transcripts |= settled(std::type_identity<Transcript>());
    written_.vocabulary |= settled(std::type_identity<Vocabulary>());
    written_.usageTracking |= settled(std::type_identity<UsageTracking>());
    forEachEntity([this]<typename E>(std::type_identity<E>) { registry_.releaseKept<E>(); });
  };
}

void ObjectContext::setPatience(std::chrono::milliseconds patience) {
  patience_ = patience;
  isLockTaken_ = false;
  database_->setBusyTimeout(static_cast<int>(patience.count()));
}

std::optional<PlatformError> ObjectContext::beginWriting() {
  std::optional<PlatformError> error;
  if (isLockTaken_) database_->setBusyTimeout(0);
  try {
    database_->exec("BEGIN IMMEDIATE");
  } catch (const SQLite::Exception& exception) {
    error = storeError(exception);
  }
  if (isLockTaken_) database_->setBusyTimeout(static_cast<int>(patience_.count()));
  isLockTaken_ = error && isBusy(*error);
  return error;
}

Result<void, PlatformError> ObjectContext::writeAndCommit(const std::function<void()>& body) {
  isInTransaction_ = true;
  for (const auto& function : std::exchange(waiting_, {})) function();
  body();
  std::function<void()> settleAll;
  std::optional<PlatformError> error;
  try {
    settleAll = flush();
    database_->exec("COMMIT");
  } catch (const SQLite::Exception& exception) {
    error = storeError(exception);
    // Some errors have ended the transaction already.
    if (sqlite3_get_autocommit(database_->getHandle()) == 0) database_->tryExec("ROLLBACK");
  }
  isInTransaction_ = false;
  if (error) return Failed{*error};
  settleAll();
  return {};
}

Result<void, PlatformError> ObjectContext::transact(const std::function<void()>& body, std::function<void()> recheck) {
  if (isInTransaction_) {
    body();
    return {};
  }
  if (auto error = beginWriting()) {
    body();
    if (recheck) waiting_.push_back(std::move(recheck));
    return Failed{*error};
  }
  return writeAndCommit(body);
}

Result<void, PlatformError> ObjectContext::transactInTime(std::function<void()> body) {
  if (isInTransaction_) {
    body();
    return {};
  }
  if (auto error = beginWriting()) {
    waiting_.push_back(std::move(body));
    return Failed{*error};
  }
  return writeAndCommit(body);
}

Result<void, PlatformError> ObjectContext::save() {
  if (isInTransaction_ || !hasChanges()) return {};
  return transact([] {});
}

#define INSTANTIATE(E)                                                                         \
  template std::vector<std::pair<qint64, E>> ObjectContext::readRows<E>(SQLite::Statement&);   \
  template Result<std::vector<std::shared_ptr<E>>, PlatformError> ObjectContext::fetchRows<E>( \
      const std::vector<qint64>&);
INSTANTIATE(Mode)
INSTANTIATE(RecordingSession)
INSTANTIATE(Transcript)
INSTANTIATE(Vocabulary)
INSTANTIATE(UsageTracking)
#undef INSTANTIATE

}  // namespace quillmere
