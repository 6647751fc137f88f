#include "storage/ObjectRegistry.h"

namespace quillmere {

ObjectRegistry::~ObjectRegistry() {
  // Objects that are let go from here on, also those that are kept here, find nobody to come back to.
  const auto tables = std::exchange(tables_, nullptr);
}

template <typename E>
void ObjectRegistry::letGo(const std::weak_ptr<Tables>& weak, E* object) {
  const auto tables = weak.lock();
  if (!tables) {
    delete object;
    return;
  }
  auto& table = std::get<Table<E>>(*tables);
  const auto found = table.records.find(object);
  Record<E>& record = *found->second;
  if (record.state == RecordState::stored && !sameColumns(*object, record.stored)) {
    record.kept = std::shared_ptr<E>(object, [weak](E* again) { letGo<E>(weak, again); });
    record.object = record.kept;
    return;
  }
  const std::unique_ptr<Record<E>> ended = std::move(found->second);  // its references may let go of further objects
  table.records.erase(found);
  if (ended->state == RecordState::stored) table.byRow.erase(ended->rowId);
  delete object;
}

template <typename E>
std::shared_ptr<E> ObjectRegistry::adopt(std::unique_ptr<E> object, RecordState state, qint64 rowId) {
  auto& table = tableOf<E>();
  auto record = std::make_unique<Record<E>>();
  record->state = state;
  record->rowId = rowId;
  if (state == RecordState::stored) {
    record->stored = *object;
    table.byRow[rowId] = record.get();
  }
  const E* key = object.get();
  Record<E>& entry = *(table.records[key] = std::move(record));
  const std::weak_ptr<Tables> weak = tables_;
  std::shared_ptr<E> shared(object.release(), [weak](E* ended) { letGo<E>(weak, ended); });
  entry.object = shared;
  return shared;
}

template <typename E>
std::shared_ptr<E> ObjectRegistry::insert(E value) {
  auto object = adopt(std::make_unique<E>(std::move(value)), RecordState::inserted, 0);
  tableOf<E>().inserted.push_back(object);
  return object;
}

template <typename E>
void ObjectRegistry::forgetReferences(const std::shared_ptr<E>& removed) {
  if constexpr (std::is_same_v<E, Mode> || std::is_same_v<E, RecordingSession>) {
    for (auto& [key, record] : tableOf<Transcript>().records) {
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
void ObjectRegistry::remove(const std::shared_ptr<E>& object) {
  if (!object) return;
  auto& table = tableOf<E>();
  const auto found = table.records.find(object.get());
  if (found == table.records.end() || found->second->state == RecordState::removed) return;
  const std::shared_ptr<E> holder = object;  // the argument may be the reference that is about to be emptied
  Record<E>& record = *found->second;
  if (record.state == RecordState::inserted) {
    std::erase(table.inserted, holder);
  } else {
    table.removedRows.insert(record.rowId);
    table.byRow.erase(record.rowId);
  }
  record.state = RecordState::removed;
  record.kept.reset();
  forgetReferences(holder);
}

template <typename E>
void ObjectRegistry::rowIsGone(const std::shared_ptr<E>& object) {
  Record<E>& record = recordOf(object);
  tableOf<E>().byRow.erase(record.rowId);
  record.state = RecordState::removed;
  record.kept.reset();
  forgetReferences(object);
}

template <typename E>
std::shared_ptr<E> ObjectRegistry::materialise(qint64 rowId, const E& value) {
  auto& table = tableOf<E>();
  if (table.removedRows.contains(rowId)) return nullptr;
  auto object = find<E>(rowId);
  if (!object) return adopt(std::make_unique<E>(value), RecordState::stored, rowId);
  Record<E>& record = *table.byRow.at(rowId);
  for (const auto& column : EntityTable<E>::columns) {
    if (sameColumn(column, value, record.stored)) continue;
    if (sameColumn(column, *object, record.stored)) copyColumn(column, value, *object);
    copyColumn(column, value, record.stored);
  }
  return object;
}

template <typename E>
bool ObjectRegistry::settle(std::vector<Written<E>>& writes) {
  auto& table = tableOf<E>();
  const bool wroteAnything = !writes.empty() || !table.removedRows.empty();
  for (auto& write : writes) {
    Record<E>& record = *write.record;
    if (write.isGone) {  // its deletion stands
      rowIsGone(write.object);
      continue;
    }
    record.state = RecordState::stored;
    record.rowId = write.rowId;
    record.stored = std::move(write.value);
    table.byRow[write.rowId] = &record;
  }
  table.removedRows.clear();
  return wroteAnything;
}

template <typename E>
void ObjectRegistry::releaseKept() {
  // Letting go may let go of further objects.
  const auto inserted = std::exchange(tableOf<E>().inserted, {});
  std::vector<std::shared_ptr<E>> kept;
  for (auto& [key, record] : tableOf<E>().records)
    if (record->kept) kept.push_back(std::exchange(record->kept, nullptr));
}

template <typename E>
std::shared_ptr<E> ObjectRegistry::find(qint64 rowId) const {
  const auto& byRow = tableOf<E>().byRow;
  const auto found = byRow.find(rowId);
  return found == byRow.end() ? nullptr : found->second->object.lock();
}

template <typename E>
qint64 ObjectRegistry::rowId(const std::shared_ptr<E>& object) const {
  const auto& records = tableOf<E>().records;
  const auto found = records.find(object.get());
  return found != records.end() && found->second->state == RecordState::stored ? found->second->rowId : 0;
}

template <typename E>
std::vector<std::shared_ptr<E>> ObjectRegistry::stored(bool onlyChanged) const {
  std::vector<std::shared_ptr<E>> objects;
  for (const auto& [key, record] : tableOf<E>().records) {
    if (record->state != RecordState::stored || (onlyChanged && sameColumns(*key, record->stored))) continue;
    if (auto object = record->object.lock()) objects.push_back(std::move(object));
  }
  return objects;
}

bool ObjectRegistry::hasChanges() const {
  bool result = false;
  forEachEntity([&]<typename E>(std::type_identity<E>) {
    const auto& table = tableOf<E>();
    result = result || !table.inserted.empty() || !table.removedRows.empty() ||
             std::any_of(table.records.begin(), table.records.end(), [](const auto& entry) {
               const Record<E>& record = *entry.second;
               return record.state == RecordState::stored && !sameColumns(*entry.first, record.stored);
             });
  });
  return result;
}

#define INSTANTIATE(E)                                                          \
  template std::shared_ptr<E> ObjectRegistry::insert<E>(E);                     \
  template void ObjectRegistry::remove<E>(const std::shared_ptr<E>&);           \
  template std::shared_ptr<E> ObjectRegistry::materialise<E>(qint64, const E&); \
  template void ObjectRegistry::rowIsGone<E>(const std::shared_ptr<E>&);        \
  template bool ObjectRegistry::settle<E>(std::vector<Written<E>>&);            \
  template void ObjectRegistry::releaseKept<E>();                               \
  template std::shared_ptr<E> ObjectRegistry::find<E>(qint64) const;            \
  template qint64 ObjectRegistry::rowId<E>(const std::shared_ptr<E>&) const;    \
  template std::vector<std::shared_ptr<E>> ObjectRegistry::stored<E>(bool) const;
INSTANTIATE(Mode)
INSTANTIATE(RecordingSession)
INSTANTIATE(Transcript)
INSTANTIATE(Vocabulary)
INSTANTIATE(UsageTracking)
#undef INSTANTIATE

}  // namespace quillmere
