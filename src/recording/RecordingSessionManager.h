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
  // With this on, a completed session is marked until it is settled, in the same save: a process that is killed before
  // its recording reached the history then gets it back at the next launch. Off at first.
  void setTracksUntilSettled(bool value) { tracksUntilSettled_ = value; }
  // The history's row of a finished recording. The save that writes it settles the session, so that a killed process
  // leaves either the row or a session that awaits one. `session` may be null.
  TranscriptPtr createTranscript(const RecordingSessionPtr& session, double duration,
                                 const std::optional<QString>& modeName, const std::optional<QString>& audioPath);
  // The recording ends without a row in the history. Saved.
  void settleSession(const RecordingSessionPtr& session);
  // Nobody wants this recording: from now on it never comes back, wherever its process is killed. Saved.
  void discardSession(const RecordingSessionPtr& session);
  static constexpr const char* unsettledStatus = "awaiting_transcript";
  static constexpr const char* discardedStatus = "discarded";  // of a session that is not completed yet

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
