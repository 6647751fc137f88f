#pragma once
#include <QString>
#include <functional>
#include <optional>
#include <vector>

#include "audio/AudioFileConverter.h"
#include "base/Clock.h"
#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "ports/ErrorReporting.h"
#include "ports/MediaReader.h"
#include "recording/AudioFileProperties.h"
#include "storage/PersistenceController.h"
#include "storage/StandardFolders.h"

namespace quillmere {

struct RecoveredRecording {
  RecordingSessionPtr session;
  QString path;  // its final file
};

// Saves what a killed process left of its recordings, once per launch. A recovered recording gets a row in the history,
// so that it can be transcribed from there. Main thread; long conversions suspend. What fails is tried again at the
// next launch; a cancel leaves the rest for then.
class CrashRecoveryManager {
 public:
  struct Dependencies {
    PersistenceController& persistence;
    AudioFileConverter& audioFileConverter;
    MediaReaderFactory& mediaReaders;
    const Clock& clock;
    StandardFolders folders;
    // Whether a live process records into that file; such a session is nobody's orphan.
    std::function<bool(const QString& path)> isFileInUse = {};
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
    deletedDiscarded,
    deletedDeprecatedCaf,
    deletedUnsupportedFormat,
    deletedUnrecoverable,
    conversionFailed
  };
  static QString outcomeText(Outcome outcome);

  Task<Outcome> handle(RecordingSessionPtr session, QString sessionId, std::vector<RecoveredRecording>& recovered);
  Task<std::optional<QString>> recoverSession(RecordingSessionPtr session, QString path);
  bool isRecoverable(const QString& path) const;
  void recoverUnsettled(std::vector<RecoveredRecording>& recovered);
  // False when it has a transcript already.
  bool addToHistory(const RecordingSessionPtr& session, const QString& path);
  void discard(const RecordingSessionPtr& session, const QString& path);
  void leaveFailure(const RecordingSessionPtr& session, const QString& path, const AnyError& error);
  void leaveBreadcrumb(const QString& message, ReportLevel level, const QVariantMap& data);

  Dependencies use_;
  Logger log_;
};

}  // namespace quillmere
