#pragma once
#include <QString>
#include <QUuid>
#include <map>
#include <memory>
#include <optional>

#include "base/Clock.h"
#include "base/log/Logger.h"
#include "ports/ProcessLocks.h"
#include "storage/PersistenceController.h"

namespace quillmere {

// The rows of recordings. A row stands in the store from the first moment, so that a killed process leaves a trace, and
// is locked before that: what is not settled and not locked belongs to no living process. A completed recording stays
// marked until it is settled, that is until it has its place in the history or needs none. Main thread.
class RecordingSessionManager {
 public:
  RecordingSessionManager(PersistenceController& persistence, const Clock& clock, ProcessLocks& locks,
                          const Logging& logging);

  // A new, saved and locked row.
  RecordingSessionPtr createSession(const std::optional<QString>& deviceId, const QString& deviceName,
                                    double sampleRate, int channelCount, const QString& audioFormat,
                                    const QString& audioFilePath);
  // True when it is saved. It awaits being settled.
  bool completeSession(const RecordingSessionPtr& session, const QString& path, double duration);
  // Nobody wants this recording: it never comes back by itself, wherever its process is killed; unless it is settled,
  // the next recovery gives it a row among the discarded. Saved.
  void discardSession(const RecordingSessionPtr& session);
  // The history's row of a finished recording. The save that writes it settles the recording, so that a killed process
  // leaves either the row or a recording that awaits one. `session` may be null.
  TranscriptPtr createTranscript(const RecordingSessionPtr& session, double duration,
                                 const std::optional<QString>& modeName, const std::optional<QString>& audioPath,
                                 const QString& status = QStringLiteral("processing"));
  // A row that tells `reason` and offers another try, for a completed recording that nobody is going to transcribe now.
  TranscriptPtr createFailedTranscript(const RecordingSessionPtr& session, const QString& reason);
  // The recording ends without a row in the history. Saved.
  void settleSession(const RecordingSessionPtr& session);
  // Removes the row and its file.
  void deleteSession(const RecordingSessionPtr& session);
  // Leaves a row that can't be completed to the next recovery.
  void releaseSession(const RecordingSessionPtr& session);

  static constexpr const char* unsettledStatus = "awaiting_transcript";
  static constexpr const char* discardedStatus = "discarded";
  // The name of the lock that the owner of the row has.
  static QString lockName(const RecordingSession& session);

 private:
  PersistenceController& persistence_;
  const Clock& clock_;
  ProcessLocks& locks_;
  Logger log_;
  std::map<QUuid, std::unique_ptr<ProcessLocks::Lock>> held_;
};

}  // namespace quillmere
