#pragma once
#include <QString>
#include <optional>

#include "base/Clock.h"
#include "base/log/Logger.h"
#include "storage/PersistenceController.h"

namespace quillmere {

// The row of the recording that runs. It stands in the store from the first moment, so that a killed process leaves a
// trace. Main thread.
class RecordingSessionManager {
 public:
  RecordingSessionManager(PersistenceController& persistence, const Clock& clock, const Logging& logging);

  const RecordingSessionPtr& currentRecordingSession() const { return currentRecordingSession_; }
  // A new, saved row, which becomes the current one.
  RecordingSessionPtr createSession(const std::optional<QString>& deviceId, const QString& deviceName,
                                    double sampleRate, int channelCount, const QString& audioFormat,
                                    const std::optional<QString>& audioFilePath = {});
  // With this on, a completed session is marked until settleSession(), in the same save: a process that is killed
  // before its recording reached the history then gets it back at the next launch. Off at first.
  void setTracksUntilSettled(bool value) { tracksUntilSettled_ = value; }
  // The recording has its transcript, or was thrown away on purpose. Saved.
  void settleSession(const RecordingSessionPtr& session);
  static constexpr const char* unsettledStatus = "awaiting_transcript";

  // True when it is saved.
  bool completeSession(const RecordingSessionPtr& session, const QString& path, double duration);
  // For an attempt that failed: removes its file and its row. A session that was completed is never touched.
  void deleteCurrentSession();
  // The row belongs to a recording that is being finished; deleteCurrentSession() can't reach it any more.
  RecordingSessionPtr takeCurrentSession();

 private:
  PersistenceController& persistence_;
  const Clock& clock_;
  Logger log_;
  RecordingSessionPtr currentRecordingSession_;
  bool tracksUntilSettled_ = false;
};

}  // namespace quillmere
