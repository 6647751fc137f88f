#pragma once
#include <QVariantMap>

#include "audio/AudioFileConverter.h"
#include "audio/SilenceTrimmer.h"
#include "audio/VADProcessing.h"
#include "base/async/WorkerPool.h"
#include "base/log/Logger.h"
#include "ports/ErrorReporting.h"
#include "ports/MediaReader.h"
#include "ports/WavWriter.h"

namespace quillmere {

// Decides whether a recording is worth trimming, trims it, and decides whether the result is good enough to stand in
// for the original. Called on the main thread; a cancel removes what this run has written.
// What it is given outlives it.
class VADProcessingService final : public VADProcessing {
 public:
  struct Dependencies {
    VoiceActivityDetector& detector;
    AudioConverter& converter;
    AudioFileConverter& fileConverter;
    MediaReaderFactory& readers;
    WavWriterFactory& writers;
    WorkerPool& workers;
    ErrorReporting* errorReporting = nullptr;
  };

  VADProcessingService(Dependencies dependencies, const Logging& logging);

  Task<VADProcessingResult> process(QString audioPath, double durationSeconds, bool isEnabled,
                                    QString logPrefix) override;
  Task<QString> compressLargeWav(QString path, QString logPrefix) override;
  // Whether the file holds an audio track with a usable format.
  Task<bool> validateM4A(QString path, QString logPrefix);

 private:
  // One of the two roads to an M4A.
  struct Attempt {
    bool isUsable = false;
    std::optional<AudioFileFormat> format;
    std::optional<QString> error;  // why the conversion itself failed
  };

  bool isAccepted(const TrimResult& trim, const QString& tag, const QString& logPrefix) const;
  Task<Attempt> attempt(Task<Result<AudioFileFormat, AnyError>> conversion, QString target, QString logPrefix);
  void report(const QString& message, const QVariantMap& data) const;
  void leaveBreadcrumb(const QString& message, const QVariantMap& data) const;

  Dependencies use_;
  Logging logging_;
  Logger logger_;
};

}  // namespace quillmere
