#pragma once
#include <QString>
#include <functional>
#include <optional>
#include <vector>

#include "audio/AudioFileConverter.h"
#include "base/Result.h"
#include "base/Subscription.h"
#include "base/log/Logger.h"
#include "domain/Errors.h"
#include "ports/ErrorReporting.h"
#include "ports/MediaReader.h"
#include "recording/AudioFileProperties.h"
#include "recording/ConversionRetryResult.h"
#include "recording/RecordingSessionManager.h"
#include "storage/PersistenceController.h"

namespace quillmere {

// Makes the finished file of a recording out of the raw one: a WAV as it is up to 25 MiB, an M4A above that. Every
// failure keeps the audio, and no other file is ever replaced. Main thread. Everything referred to outlives it.
class RecordingFinisher {
 public:
  struct Dependencies {
    AudioFileConverter& audioFileConverter;
    MediaReaderFactory& mediaReaders;
    RecordingSessionManager& sessionManager;
    PersistenceController& persistence;
    ErrorReporting* reporting = nullptr;
  };
  struct RawRecording {
    QString path;
    qint64 startedAt = 0;  // seconds since 1970, for the name: "recording_1700000000.wav" or the next free second
    double duration = 0;   // seconds
    RecordingSessionPtr session;
    // Whether a large WAV stays one for now: a local engine decodes it as it is, and convertInBackground() makes it
    // smaller afterwards.
    bool keepsLargeWav = false;
  };
  struct Finished {
    std::optional<QString> path;  // none where no name could be given: the raw file waits for the recovery
    std::optional<QString> conversionWarning;
    bool isTooShort = false;  // file and row are removed
  };

  RecordingFinisher(Dependencies dependencies, const Logging& logging);

  // File and row. A cancel leaves the raw file to the recovery: shield it.
  Task<Finished> finish(RawRecording raw);
  // The storage conversion of a finished WAV. A failure or a cancel keeps the WAV and the row.
  Task<void> convertInBackground(QString path, TranscriptPtr transcript);

  static constexpr qint64 wavToM4AThresholdBytes = 26214400;
  static constexpr qint64 minimumSizeBytes = 5000;
  static constexpr double minimumSeconds = 1.0;

 private:
  // A file whose row names another one by now. It goes once that is stored.
  struct Superseded {
    QString path;
    QString finished;
  };

  Task<Result<void, AnyError>> promote(const RawRecording& raw, Finished& finished);
  Task<bool> waitForRawFileReady(QString path);
  Result<AudioFileProperties, AnyError> validate(const QString& path) const;
  Task<Result<void, AnyError>> compress(const RawRecording& raw, qint64 sizeBytes, Finished& finished);
  Task<ConversionRetryResult> convertWithRetry(QString from, QString to);
  Task<Result<void, AnyError>> exportFallback(QString from, QString to);
  Result<QString, AnyError> moveToFinalWav(const RawRecording& raw) const;
  void rescue(const RawRecording& raw, Finished& finished);
  void completeRow(const RawRecording& raw, const Finished& finished);
  void reportFailure(const RawRecording& raw, const Finished& finished, const AnyError& error);
  void supersede(const QString& path, const QString& finished);
  void removeSuperseded();
  void leaveBreadcrumb(const QString& message, ReportLevel level, const QVariantMap& data);

  Dependencies use_;
  Logger log_;
  std::vector<Superseded> superseded_;
  Subscription saves_;
};

}  // namespace quillmere
