#pragma once
#include <QFile>
#include <QTemporaryDir>

#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "support/FakeDefaultsStore.h"
#include "support/FakeTranscriber.h"
#include "support/FakeVADProcessing.h"
#include "support/ManualExecutor.h"
#include "support/RunTask.h"
#include "support/TestTexts.h"
#include "transcripts/PipelineTranscriptRoad.h"

namespace quillmere {

// The real road over a real store; only the trimming and the pipeline are made up.
struct RoadFixture {
  RoadFixture() {
    persistence = std::move(*PersistenceController::open(PersistenceController::inMemory(), clock, {}));
    road = std::make_unique<PipelineTranscriptRoad>(
        PipelineTranscriptRoad::Services{clock, *persistence, settings, vad, transcriber}, Logging());
    audioPath = addFile("talk.wav");
    transcriber.result.text = "Rewritten.";
    transcriber.result.rawText = "spoken";
    transcriber.result.provider = "Local Whisper";
  }
  QString path(const QString& name) const { return folder.filePath(name); }
  QString addFile(const QString& name) const {
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly)) std::abort();
    return path(name);
  }
  TranscriptJob job() const {
    TranscriptJob job;
    job.audioPath = audioPath;
    job.durationSeconds = 40;
    job.modeName = "Mail";
    return job;
  }
  TranscriptPtr onlyRow() const {
    const auto rows = persistence->fetchTranscripts(-1);
    return rows.size() == 1 ? rows.front() : nullptr;
  }
  QStringList files() const { return QDir(folder.path()).entryList(QDir::Files, QDir::Name); }

  TestTexts texts;
  QTemporaryDir folder;
  QString audioPath;
  FixedClock clock{QDateTime::fromSecsSinceEpoch(1'700'000'000)};
  ManualExecutor executor;
  FakeDefaultsStore defaults;
  SettingsManager settings{defaults, {path("data"), path("Documents"), path("Downloads"), path("tmp")}, Logging()};
  std::unique_ptr<PersistenceController> persistence;
  FakeVADProcessing vad;
  FakeTranscriber transcriber;
  std::unique_ptr<PipelineTranscriptRoad> road;
};

}  // namespace quillmere
