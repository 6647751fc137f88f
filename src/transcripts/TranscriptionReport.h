#pragma once
#include <QString>
#include <QStringList>
#include <optional>

#include "base/async/Executor.h"
#include "domain/Entities.h"
#include "domain/Errors.h"
#include "ports/ErrorReporting.h"

namespace quillmere {

// The file of a transcription as a report tells it.
struct ReportedFile {
  QString path;
  bool exists = false;
  bool isReadable = false;
  qint64 sizeBytes = -1;
};

// What a failed transcription is reported with: gathered while it runs, put together at its end. Pure.
class TranscriptionReport {
 public:
  explicit TranscriptionReport(const ModePtr& mode, TimePoint start);

  // Ends the stage under way and gives the breadcrumb for the new one.
  Breadcrumb markStage(const QString& name, TimePoint now);
  ReportOptions failure(const AnyError& error, const ReportedFile& file, const QString& state,
                        const RecordingSessionPtr& session, TimePoint now) const;

  // What becomes known on the way.
  QString actualProvider = QStringLiteral("Unknown");
  QString language = QStringLiteral("auto");
  QString postProcessingMode = QStringLiteral("off");
  QString postProcessingProvider = QStringLiteral("unknown");
  bool shouldRunPostProcessing = false;
  bool isQuillmereTranscription = false;

 private:
  // "transcribe=840ms@910ms"
  QString timelineEntry(TimePoint now) const;

  QString modelString_;
  QString modeName_;
  TimePoint startTime_;
  TimePoint stageStartTime_;
  QString currentStage_ = QStringLiteral("start");
  QStringList stageTimeline_;
};

}  // namespace quillmere
