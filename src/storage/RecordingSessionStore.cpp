#include "storage/RecordingSessionStore.h"

#include "storage/ObjectContext.h"
#include "storage/Store.h"

namespace quillmere {

std::vector<RecordingSessionPtr> RecordingSessionStore::fetchRows(const std::string& condition, const auto&... values) {
  return store_.valueOrReport(
      store_.context().fetchWithInserted<RecordingSession>(condition + "ORDER BY startTime, pk", values...),
      "Failed to fetch recording sessions: %{public}@", "Failed to fetch recording sessions");
}

RecordingSessionPtr RecordingSessionStore::insertRecordingSession() {
  RecordingSession session;
  session.id = QUuid::createUuid();
  return store_.context().insert(std::move(session));
}

RecordingSessionPtr RecordingSessionStore::fetchRecordingSession(const QUuid& id) {
  auto found = fetchRows("WHERE id = ? ", id);
  std::erase_if(found, [&](const RecordingSessionPtr& session) { return session->id != id; });
  return found.empty() ? nullptr : found.front();
}

std::vector<RecordingSessionPtr> RecordingSessionStore::fetchUnfinishedRecordingSessions() {
  auto found = fetchRows("WHERE endTime IS NULL ");
  std::erase_if(found, [](const RecordingSessionPtr& session) { return session->endTime.has_value(); });
  return found;
}

std::vector<RecordingSessionPtr> RecordingSessionStore::fetchRecordingSessionsWithStatus(const QString& status) {
  auto found = fetchRows("WHERE status = ? ", status);
  std::erase_if(found, [&](const RecordingSessionPtr& session) { return session->status != status; });
  return found;
}

std::vector<RecordingSessionPtr> RecordingSessionStore::fetchAllRecordingSessions() {
  return fetchRows("");
}

void RecordingSessionStore::deleteRecordingSession(const RecordingSessionPtr& session) {
  store_.context().remove(session);
  store_.save();
}

}  // namespace quillmere
