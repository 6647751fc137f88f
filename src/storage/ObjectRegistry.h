#pragma once
#include <memory>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "storage/EntityColumns.h"

namespace quillmere {

template <typename F>
void forEachEntity(F visit) {
  // References point at what comes first.
  visit(std::type_identity<Mode>());
  visit(std::type_identity<RecordingSession>());
  visit(std::type_identity<Transcript>());
  visit(std::type_identity<Vocabulary>());
  visit(std::type_identity<UsageTracking>());
}

// The identity map: every row that somebody holds has one object and one record. A record keeps the values that the
// store is known to have; what differs from them is to be written. Records refer to their objects weakly; an object
// whose last holder lets go of it while it differs comes back through its deleter and is kept until it is written.
// Knows no SQL. Main thread only; objects may outlive it.
class ObjectRegistry {
 public:
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
  struct Written {
    Record<E>* record;
    std::shared_ptr<E> object;
    E value;
    qint64 rowId;
    bool isGone;  // another process has removed the row
  };

  ~ObjectRegistry();

  template <typename E>
  std::shared_ptr<E> insert(E value);
  // The row goes with the next write; the object stays readable, changes to it are ignored, references to it become
  // empty.
  template <typename E>
  void remove(const std::shared_ptr<E>& object);
  // The object of a row that was just read: the present one, with the read values where it has no change of its own, or
  // a new one. Null for a row that is about to be removed.
  template <typename E>
  std::shared_ptr<E> materialise(qint64 rowId, const E& value);
  // The row is not in the store any more.
  template <typename E>
  void rowIsGone(const std::shared_ptr<E>& object);
  // After the commit: what was written is what the store has. True when there was anything.
  template <typename E>
  bool settle(std::vector<Written<E>>& writes);
  // Nobody has to be kept any more: everything is written.
  template <typename E>
  void releaseKept();

  // Null where nobody holds the row.
  template <typename E>
  std::shared_ptr<E> find(qint64 rowId) const;
  // 0 for an object without a row.
  template <typename E>
  qint64 rowId(const std::shared_ptr<E>& object) const;
  template <typename E>
  const std::vector<std::shared_ptr<E>>& inserted() const {
    return tableOf<E>().inserted;
  }
  template <typename E>
  const std::unordered_set<qint64>& removedRows() const {
    return tableOf<E>().removedRows;
  }
  template <typename E>
  Record<E>& recordOf(const std::shared_ptr<E>& object) const {
    return *tableOf<E>().records.at(object.get());
  }
  // The held objects that have a row; `onlyChanged`: that differ from it.
  template <typename E>
  std::vector<std::shared_ptr<E>> stored(bool onlyChanged) const;
  bool hasChanges() const;

 private:
  template <typename E>
  struct Table {
    std::unordered_map<const E*, std::unique_ptr<Record<E>>> records;
    std::unordered_map<qint64, Record<E>*> byRow;
    std::vector<std::shared_ptr<E>> inserted;  // in order of their making
    std::unordered_set<qint64> removedRows;
  };
  using Tables =
      std::tuple<Table<Mode>, Table<RecordingSession>, Table<Transcript>, Table<Vocabulary>, Table<UsageTracking>>;

  template <typename E>
  Table<E>& tableOf() const {
    return std::get<Table<E>>(*tables_);
  }
  template <typename E>
  static void letGo(const std::weak_ptr<Tables>& tables, E* object);
  template <typename E>
  std::shared_ptr<E> adopt(std::unique_ptr<E> object, RecordState state, qint64 rowId);
  template <typename E>
  void forgetReferences(const std::shared_ptr<E>& removed);

  std::shared_ptr<Tables> tables_ = std::make_shared<Tables>();
};

}  // namespace quillmere
