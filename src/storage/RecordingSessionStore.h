#pragma once
#include <QString>
#include <QUuid>
#include <string>
#include <vector>

#include "domain/Entities.h"

namespace quillmere {

class Store;

// One row a capture. Main thread only; failures are told as PersistenceController says.
class RecordingSessionStore {
 public:
  explicit RecordingSessionStore(Store& store) : store_(store) {}

  // A new row with an id, written by the next save().
  RecordingSessionPtr insertRecordingSession();
  RecordingSessionPtr fetchRecordingSession(const QUuid& id);
  // All oldest first.
  std::vector<RecordingSessionPtr> fetchUnfinishedRecordingSessions();  // no endTime
  std::vector<RecordingSessionPtr> fetchRecordingSessionsWithStatus(const QString& status);
  std::vector<RecordingSessionPtr> fetchAllRecordingSessions();
  void deleteRecordingSession(const RecordingSessionPtr& session);

 private:
  std::vector<RecordingSessionPtr> fetchRows(const std::string& condition, const auto&... values);

  Store& store_;
};

}  // namespace quillmere
