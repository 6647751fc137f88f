#pragma once
#include "base/Clock.h"
#include "base/log/Logger.h"
#include "transcripts/TranscriptRoad.h"

namespace quillmere {

class PersistenceController;
class SettingsManager;
class Transcriber;
class VADProcessing;

// The road over the pipeline and the store: the row first, then trim, transcribe, rewrite, and the outcome on the row.
// What it is given outlives it and the tasks that await it.
class PipelineTranscriptRoad final : public TranscriptRoad {
 public:
  struct Services {
    const Clock& clock;
    PersistenceController& persistence;
    const SettingsManager& settings;
    VADProcessing& vad;
    Transcriber& transcriber;
  };
  PipelineTranscriptRoad(Services services, const Logging& logging);

  Task<TranscriptOutcome> run(TranscriptJob job) override;

 private:
  class RowUnderWay;
  Task<void> takeJob(const TranscriptJob& job, TranscriptOutcome& outcome);
  class UploadCopy;
  Task<QString> trim(const TranscriptJob& job, const TranscriptPtr& row);
  Task<QString> compress(const TranscriptJob& job, QString path, UploadCopy& copy);
  TranscriptPtr beginRow(const TranscriptJob& job);

  Services use_;
  Logger logger_;
};

}  // namespace quillmere
