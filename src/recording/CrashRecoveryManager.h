#pragma once
#include <QString>
#include <optional>
#include <vector>

#include "audio/AudioFileConverter.h"
#include "base/Clock.h"
#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "ports/ErrorReporting.h"
#include "ports/MediaReader.h"
#include "ports/ProcessLocks.h"
#include "recording/AudioFileProperties.h"
#include "recording/RecordingSessionManager.h"
#include "storage/PersistenceController.h"
#include "storage/StorageSettingsManager.h"

namespace quillmere {

struct RecoveredRecording {
  RecordingSessionPtr session;
  QString path;  // its final file
};

// Saves what killed processes left of their recordings. Runs beside live recordings of this process and of others: it
// touches only rows that it could lock, so of two recoveries at once each takes what the other does not. A recovered
// recording gets a row in the history, so that it can be transcribed from there. Main thread; what takes long suspends.
// What fails is tried again at the next launch; a cancel leaves the rest for then.
class CrashRecoveryManager {
 public:
  struct Dependencies {
    PersistenceController& persistence;
    RecordingSessionManager& sessionManager;
    ProcessLocks& locks;
    AudioFileConverter& audioFileConverter;
    MediaReaderFactory& mediaReaders;
    const Clock& clock;
    StorageSettingsManager& storage;  // recovered recordings go where new ones go
    ErrorReporting* reporting = nullptr;
  };

  CrashRecoveryManager(Dependencies dependencies, const Logging& logging);

  Task<std::vector<RecoveredRecording>> recoverOrphanedRecordings();

  static constexpr qint64 wavToM4AThreshold = 26214400;  // bytes

 private:
  enum class Outcome {
    skipped,
    recovered,
    deletedMissingPath,
    discarded,
    deletedDeprecatedCaf,
    deletedUnsupportedFormat,
    deletedUnrecoverable,
    conversionFailed
  };
  // A row without a living owner, which is ours until the lock goes.
  struct Orphan {
    RecordingSessionPtr session;
    QString sessionId;
    std::unique_ptr<ProcessLocks::Lock> lock;
  };
  static QString outcomeText(Outcome outcome);

  std::vector<Orphan> claimOrphans();
  Task<Outcome> handle(const Orphan& orphan, std::vector<RecoveredRecording>& recovered);
  Outcome addUnsettled(const Orphan& orphan, std::vector<RecoveredRecording>& recovered);
  Task<Outcome> settleDiscarded(RecordingSessionPtr session, QString path);
  void giveRow(const RecordingSessionPtr& session);
  Task<std::optional<QString>> recoverSession(RecordingSessionPtr session, QString path);
  Task<Result<void, AnyError>> keepAs(QString path, QString target);
  bool isRecoverable(const QString& path) const;
  void discard(const RecordingSessionPtr& session, const QString& path);
  void leaveFailure(const RecordingSessionPtr& session, const QString& path, const AnyError& error);
  void leaveBreadcrumb(const QString& message, ReportLevel level, const QVariantMap& data);

  Dependencies use_;
  Logger log_;
};

}  // namespace quillmere
