#include "storage/ObjectContext.h"

#include <sqlite3.h>

namespace quillmere {

namespace {

constexpr int beginAttempts = 3;  // each waits for the connection's busy timeout

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

template <typename F>
void forEachEntity(F visit) {
  // References point at what comes first.
  visit(std::type_identity<Mode>());
  visit(std::type_identity<RecordingSession>());
  visit(std::type_identity<Transcript>());
  visit(std::type_identity<Vocabulary>());
  visit(std::type_identity<UsageTracking>());
}

}  // namespace

ObjectContext::ObjectContext(std::unique_ptr<SQLite::Database> database) : database_(std::move(database)) {
  if (auto version = fetchNumber("PRAGMA data_version")) dataVersion_ = *version;
}

ObjectContext::~ObjectContext() {
  // Objects that are let go from here on, also those that are kept here, find nobody to come back to.
  const auto registries = std::exchange(registries_, nullptr);
  statements_.clear();
}

SQLite::Statement& ObjectContext::prepared(const std::string& sql) {
  registries_->thread.assertCurrent();
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

// --- identity

template <typename E>
void ObjectContext::letGo(const std::weak_ptr<Registries>& weak, E* object) {
  const auto registries = weak.lock();
  if (!registries) {
    delete object;
    return;
  }
  registries->thread.assertCurrent();
  auto& registry = registries->template of<E>();
  const auto found = registry.records.find(object);
  Record<E>& record = *found->second;
  if (record.state == RecordState::stored && !sameColumns(*object, record.stored)) {
    record.kept = std::shared_ptr<E>(object, [weak](E* again) { letGo<E>(weak, again); });
    record.object = record.kept;
    return;
  }
  const std::unique_ptr<Record<E>> ended = std::move(found->second);  // its references may let go of further objects
  registry.records.erase(found);
  if (ended->state == RecordState::stored) registry.byRow.erase(ended->rowId);
  delete object;
}

template <typename E>
std::shared_ptr<E> ObjectContext::adopt(std::unique_ptr<E> object, RecordState state, qint64 rowId) {
  auto& registry = registries_->of<E>();
  auto record = std::make_unique<Record<E>>();
  record->state = state;
  record->rowId = rowId;
  if (state == RecordState::stored) {
    record->stored = *object;
    registry.byRow[rowId] = record.get();
  }
  const E* key = object.get();
  Record<E>& entry = *(registry.records[key] = std::move(record));
  const std::weak_ptr<Registries> weak = registries_;
  std::shared_ptr<E> shared(object.release(), [weak](E* ended) { letGo<E>(weak, ended); });
  entry.object = shared;
  return shared;
}

template <typename E>
std::shared_ptr<E> ObjectContext::insert(E value) {
  auto object = adopt(std::make_unique<E>(std::move(value)), RecordState::inserted, 0);
  registries_->of<E>().inserted.push_back(object);
  return object;
}

template <typename E>
void ObjectContext::forgetReferences(const std::shared_ptr<E>& removed) {
  if constexpr (std::is_same_v<E, Mode> || std::is_same_v<E, RecordingSession>) {
    for (auto& [key, record] : registries_->of<Transcript>().records) {
      const auto transcript = record->object.lock();
      if (!transcript) continue;
      if constexpr (std::is_same_v<E, Mode>) {
        if (transcript->modeRelationship == removed) transcript->modeRelationship = nullptr;
      } else {
        if (transcript->recordingSession == removed) transcript->recordingSession = nullptr;
      }
    }
  }
}

template <typename E>
void ObjectContext::remove(const std::shared_ptr<E>& object) {
  if (!object) return;
  auto& registry = registries_->of<E>();
  const auto found = registry.records.find(object.get());
  if (found == registry.records.end() || found->second->state == RecordState::removed) return;
  // The argument may be the reference that is about to be emptied.
  const std::shared_ptr<E> holder = object;  // NOLINT(performance-unnecessary-copy-initialization)
  Record<E>& record = *found->second;
  if (record.state == RecordState::inserted) {
    std::erase(registry.inserted, holder);
  } else {
    registry.removedRows.insert(record.rowId);
    registry.byRow.erase(record.rowId);
  }
  record.state = RecordState::removed;
  record.kept.reset();
  forgetReferences(holder);
}

template <typename E>
qint64 ObjectContext::rowId(const std::shared_ptr<E>& object) const {
  auto& registry = registries_->of<E>();
  const auto found = registry.records.find(object.get());
  return found != registry.records.end() && found->second->state == RecordState::stored ? found->second->rowId : 0;
}

template <typename E>
std::vector<std::shared_ptr<E>> ObjectContext::pendingInserts() const {
  return registries_->of<E>().inserted;
}

template <typename E>
qint64 ObjectContext::pendingRemovalCount() const {
  return static_cast<qint64>(registries_->of<E>().removedRows.size());
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
  auto& registry = registries_->of<E>();
  if (const auto found = registry.byRow.find(rowId); found != registry.byRow.end())
    if (auto object = found->second->object.lock()) return object;
  if (registry.removedRows.contains(rowId)) return nullptr;
  SQLite::Statement& statement = prepared(selectClause<E>() + "WHERE pk = ?");
  StatementGuard guard(statement);
  bindValue(statement, 1, rowId);
  auto rows = readRows<E>(statement);
  return rows.empty() ? nullptr : materialise<E>(rowId, rows.front().second);
}

template <typename E>
void ObjectContext::merge(Record<E>& record, E& object, const E& value) {
  for (const auto& column : EntityTable<E>::columns) {
    if (sameColumn(column, value, record.stored)) continue;
    if (sameColumn(column, object, record.stored)) copyColumn(column, value, object);
    copyColumn(column, value, record.stored);
  }
}

template <typename E>
std::shared_ptr<E> ObjectContext::materialise(qint64 rowId, const E& value) {
  auto& registry = registries_->of<E>();
  if (registry.removedRows.contains(rowId)) return nullptr;
  if (const auto found = registry.byRow.find(rowId); found != registry.byRow.end())
    if (auto object = found->second->object.lock()) {
      merge(*found->second, *object, value);
      return object;
    }
  return adopt(std::make_unique<E>(value), RecordState::stored, rowId);
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
      if (auto object = materialise<E>(rowId, rows.front().second)) objects.push_back(std::move(object));
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
  auto& registry = registries_->of<E>();
  std::vector<std::shared_ptr<E>> objects;  // refreshing adds records
  objects.reserve(registry.records.size());
  for (auto& [key, record] : registry.records)
    if (record->state == RecordState::stored)
      if (auto object = record->object.lock()) objects.push_back(std::move(object));
  SQLite::Statement& statement = prepared(selectClause<E>() + "WHERE pk = ?");
  for (const auto& object : objects) {
    Record<E>& record = *registry.records.at(object.get());
    StatementGuard guard(statement);
    bindValue(statement, 1, record.rowId);
    auto rows = readRows<E>(statement);
    if (!rows.empty()) {
      merge(record, *object, rows.front().second);
      continue;
    }
    registry.byRow.erase(record.rowId);
    record.state = RecordState::removed;
    record.kept.reset();
    forgetReferences(object);
  }
}

Result<bool, PlatformError> ObjectContext::refreshIfChanged() {
  const auto version = fetchNumber("PRAGMA data_version");
  if (!version) return Failed{version.error()};
  if (*version == dataVersion_) return false;
  try {
    forEachEntity([this]<typename E>(std::type_identity<E>) { refreshAll<E>(); });
  } catch (const SQLite::Exception& exception) {
    return Failed{storeError(exception)};
  }
  dataVersion_ = *version;
  return true;
}

// --- writing

template <typename E>
bool ObjectContext::hasChangesOf() const {
  auto& registry = registries_->of<E>();
  if (!registry.inserted.empty() || !registry.removedRows.empty()) return true;
  for (const auto& [key, record] : registry.records)
    if (record->state == RecordState::stored && !sameColumns(*key, record->stored)) return true;
  return false;
}

bool ObjectContext::hasChanges() const {
  bool result = false;
  forEachEntity([&]<typename E>(std::type_identity<E>) { result = result || hasChangesOf<E>(); });
  return result;
}

template <typename E, typename R>
void ObjectContext::bindReference(SQLite::Statement& statement, int index, const std::shared_ptr<R>& target,
                                  const std::unordered_map<const void*, qint64>& newRows) {
  if (!target) return statement.bind(index);
  qint64 row = rowId(target);
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
std::vector<ObjectContext::PendingWrite<E>> ObjectContext::writeChanges(
    std::unordered_map<const void*, qint64>& newRows) {
  auto& registry = registries_->of<E>();
  const auto bindColumn = [&](SQLite::Statement& statement, int index, const EntityColumn<E>& column, const E& value) {
    std::visit(
        [&](auto field) {
          using Value = std::remove_cvref_t<decltype(value.*field)>;
          if constexpr (std::is_same_v<Value, std::shared_ptr<Mode>> ||
                        std::is_same_v<Value, std::shared_ptr<RecordingSession>>)
            bindReference<E>(statement, index, value.*field, newRows);
          else if (value.*field)
            bindValue(statement, index, *(value.*field));
          else
            statement.bind(index);
        },
        column.field);
  };
  std::vector<PendingWrite<E>> writes;
  for (const auto& object : registry.inserted) {
    SQLite::Statement& statement = prepared(insertStatement<E>());
    StatementGuard guard(statement);
    int index = 0;
    for (const auto& column : EntityTable<E>::columns) bindColumn(statement, ++index, column, *object);
    statement.exec();
    const qint64 row = database_->getLastInsertRowid();
    newRows[object.get()] = row;
    writes.push_back({registry.records.at(object.get()).get(), object, *object, row, false});
  }
  for (const auto& [key, record] : registry.records) {
    if (record->state != RecordState::stored || sameColumns(*key, record->stored)) continue;
    const auto object = record->object.lock();
    if (!object) continue;
    std::string assignments;
    for (const auto& column : EntityTable<E>::columns)
      if (!sameColumn(column, *object, record->stored))
        assignments += (assignments.empty() ? "" : ", ") + std::string(column.name) + " = ?";
    SQLite::Statement& statement =
        prepared(std::string("UPDATE ") + EntityTable<E>::name + " SET " + assignments + " WHERE pk = ?");
    StatementGuard guard(statement);
    int index = 0;
    for (const auto& column : EntityTable<E>::columns)
      if (!sameColumn(column, *object, record->stored)) bindColumn(statement, ++index, column, *object);
    bindValue(statement, ++index, record->rowId);
    const bool isGone = statement.exec() == 0;
    writes.push_back({record.get(), object, *object, record->rowId, isGone});
  }
  return writes;
}

template <typename E>
void ObjectContext::removeRows() {
  SQLite::Statement& statement = prepared(std::string("DELETE FROM ") + EntityTable<E>::name + " WHERE pk = ?");
  for (const qint64 row : registries_->of<E>().removedRows) {
    StatementGuard guard(statement);
    bindValue(statement, 1, row);
    statement.exec();
  }
}

// After the commit: what was written is what the store has. True when there was anything.
template <typename E>
bool ObjectContext::settle(std::vector<PendingWrite<E>>& writes) {
  auto& registry = registries_->of<E>();
  const bool wroteAnything = !writes.empty() || !registry.removedRows.empty();
  for (auto& write : writes) {
    Record<E>& record = *write.record;
    if (write.isGone) {  // removed by another process: its deletion stands
      registry.byRow.erase(record.rowId);
      record.state = RecordState::removed;
      forgetReferences(write.object);
    } else {
      record.state = RecordState::stored;
      record.rowId = write.rowId;
      record.stored = std::move(write.value);
      registry.byRow[write.rowId] = &record;
    }
  }
  registry.removedRows.clear();
  return wroteAnything;
}

void ObjectContext::flush() {
  std::unordered_map<const void*, qint64> newRows;
  auto writes =
      std::make_shared<std::tuple<std::vector<PendingWrite<Mode>>, std::vector<PendingWrite<RecordingSession>>,
                                  std::vector<PendingWrite<Transcript>>, std::vector<PendingWrite<Vocabulary>>,
                                  std::vector<PendingWrite<UsageTracking>>>>();
  forEachEntity([&]<typename E>(std::type_identity<E>) {
    std::get<std::vector<PendingWrite<E>>>(*writes) = writeChanges<E>(newRows);
  });
  forEachEntity([this]<typename E>(std::type_identity<E>) { removeRows<E>(); });
  settleAll_ = [this, writes] {
    const auto settled = [&]<typename E>(std::type_identity<E>) {
      return settle<E>(std::get<std::vector<PendingWrite<E>>>(*writes));
    };
    written_.modes |= settled(std::type_identity<Mode>());
    written_.recordingSessions |= settled(std::type_identity<RecordingSession>());
    written_.transcripts |= settled(std::type_identity<Transcript>());
    written_.vocabulary |= settled(std::type_identity<Vocabulary>());
    written_.usageTracking |= settled(std::type_identity<UsageTracking>());
    // Now nobody has to be kept any more; letting go may let go of further objects.
    forEachEntity([&]<typename E>(std::type_identity<E>) {
      const auto inserted = std::exchange(registries_->of<E>().inserted, {});
      std::vector<std::shared_ptr<E>> kept;
      for (auto& [key, record] : registries_->of<E>().records)
        if (record->kept) kept.push_back(std::exchange(record->kept, nullptr));
    });
  };
}

void ObjectContext::beginWriting() {
  for (int attempt = 1;; ++attempt) {
    try {
      database_->exec("BEGIN IMMEDIATE");
      return;
    } catch (const SQLite::Exception& exception) {
      if (exception.getErrorCode() != SQLITE_BUSY || attempt == beginAttempts) throw;
    }
  }
}

Result<void, PlatformError> ObjectContext::transact(const std::function<void()>& body) {
  if (isInTransaction_) {
    body();
    return {};
  }
  try {
    beginWriting();
  } catch (const SQLite::Exception& exception) {
    body();
    return Failed{storeError(exception)};
  }
  isInTransaction_ = true;
  body();
  std::optional<PlatformError> error;
  try {
    flush();
    database_->exec("COMMIT");
  } catch (const SQLite::Exception& exception) {
    error = storeError(exception);
    // Some errors have ended the transaction already.
    if (sqlite3_get_autocommit(database_->getHandle()) == 0) database_->tryExec("ROLLBACK");
  }
  isInTransaction_ = false;
  const auto settleAll = std::exchange(settleAll_, nullptr);
  if (error) return Failed{*error};
  settleAll();
  return {};
}

Result<void, PlatformError> ObjectContext::save() {
  if (isInTransaction_ || !hasChanges()) return {};
  return transact([] {});
}

#define INSTANTIATE(E)                                                                         \
  template std::shared_ptr<E> ObjectContext::insert<E>(E);                                     \
  template void ObjectContext::remove<E>(const std::shared_ptr<E>&);                           \
  template qint64 ObjectContext::rowId<E>(const std::shared_ptr<E>&) const;                    \
  template std::vector<std::shared_ptr<E>> ObjectContext::pendingInserts<E>() const;           \
  template qint64 ObjectContext::pendingRemovalCount<E>() const;                               \
  template std::vector<std::pair<qint64, E>> ObjectContext::readRows<E>(SQLite::Statement&);   \
  template std::shared_ptr<E> ObjectContext::materialise<E>(qint64, const E&);                 \
  template Result<std::vector<std::shared_ptr<E>>, PlatformError> ObjectContext::fetchRows<E>( \
      const std::vector<qint64>&);
INSTANTIATE(Mode)
INSTANTIATE(RecordingSession)
INSTANTIATE(Transcript)
INSTANTIATE(Vocabulary)
INSTANTIATE(UsageTracking)
#undef INSTANTIATE

}  // namespace quillmere
