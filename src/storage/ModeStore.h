#pragma once
#include <QString>
#include <QUuid>
#include <vector>

#include "base/Result.h"
#include "domain/Entities.h"
#include "domain/Errors.h"
#include "domain/ModeData.h"
#include "storage/RowLookup.h"

namespace quillmere {

class Store;

inline constexpr const char* defaultModeId = "00000000-0000-0000-0000-000000000001";
inline constexpr const char* localDefaultModeId = "00000000-0000-0000-0000-000000000002";

// Refusal to delete the last mode; title and message as the interface shows them.
struct LastModeRefusal {
  QString title;
  QString message;
};

// The dictation modes. Main thread only; failures are told as PersistenceController says.
class ModeStore {
 public:
  explicit ModeStore(Store& store) : store_(store) {}

  // Nothing while there is any mode.
  void seedDefaultModes();

  std::vector<ModePtr> fetchAllModes();  // by sortOrder
  ModePtr fetchDefaultMode();
  ModePtr fetchMode(const QString& id);
  ModePtr fetchMode(const QUuid& id);
  // Any case; an exact match wins over matches in another case.
  Result<ModePtr, LookupFailure> fetchModeByName(const QString& name);
  // Writes an edited mode: onto the row with its id, else onto a new row (a null id gets a fresh one).
  ModePtr saveMode(const ModeData& data);
  // A new mode from the given values; the data's id is ignored.
  ModePtr createMode(const ModeData& data);
  // The row only; storage/ModeDeletion.h cares for settings and selection too.
  Result<void, LastModeRefusal> deleteMode(const ModePtr& mode);
  // Renumbers: these first, in this order, then the others in their present order.
  void setModeOrder(const std::vector<QUuid>& order);

 private:
  Result<std::vector<ModePtr>, PlatformError> loadModes();

  Store& store_;
};

}  // namespace quillmere
