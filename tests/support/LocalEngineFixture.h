#pragma once
#include <QTemporaryDir>

#include "audio/AudioConverter.h"
#include "models/WhisperModelManager.h"
#include "providers/LibWhisperProvider.h"
#include "support/FakeHttpDownloader.h"
#include "support/FakeSpeechEngine.h"
#include "support/Files.h"
#include "support/ManualExecutor.h"
#include "support/PlainSamples.h"
#include "support/RecordingLogSink.h"
#include "support/RunTask.h"

namespace quillmere {

inline AnyError transcriptionError(TranscriptionError::Case kind) {
  return TranscriptionError{std::move(kind)};
}

// The local provider over a fake engine, with model files that only exist.
struct LocalEngineFixture {
  explicit LocalEngineFixture(const QStringList& models = {"ggml-base.bin"}, int processors = 4) {
    for (const QString& model : models) addFile("models/" + model);
    audioPath = addFile("speech.wav");
    WhisperModelManagerConfiguration configuration;
    configuration.modelsDirectory = folder.filePath("models");
    manager = std::make_unique<WhisperModelManager>(configuration, downloader, executor, files, logging);
    converter = std::make_unique<AudioConverter>(samples, samples, files, logging);
    provider = std::make_unique<LibWhisperProvider>(executor, engine, *manager, *converter, processors, logging);
  }

  QString addFile(const QString& name) { return writeFile(folder.filePath(name), "some bytes of " + name.toUtf8()); }

  SpeechRequest request(const QString& model = "base", std::optional<QString> language = std::nullopt) const {
    SpeechRequest request;
    request.audioPath = audioPath;
    request.model = model;
    request.language = std::move(language);
    return request;
  }
  Result<SpeechAnswer, AnyError> transcribe(SpeechRequest request) {
    return runTask(executor, provider->transcribe(std::move(request)));
  }

  // Runs what is ready, and lets workers go on, until so many runs have begun.
  void runUntilRuns(size_t count) {
    while (engine.runs().size() < count) {
      executor.runReady();
      std::this_thread::yield();
    }
  }

  QTemporaryDir folder;
  ManualExecutor executor;
  std::shared_ptr<RecordingLogSink> log = std::make_shared<RecordingLogSink>();
  Logging logging{log};
  WorkerPool files{2, "files"};
  FakeHttpDownloader downloader;
  FakeSpeechEngine engine;
  PlainSamples samples;
  QString audioPath;
  std::unique_ptr<WhisperModelManager> manager;
  std::unique_ptr<AudioConverter> converter;
  std::unique_ptr<LibWhisperProvider> provider;
};

}  // namespace quillmere
