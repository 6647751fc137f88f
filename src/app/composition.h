#pragma once
#include <memory>
#include <optional>

#include "app/Paths.h"
#include "app/media/LazyMedia.h"
#include "audio/AudioConverter.h"
#include "audio/AudioFileConverter.h"
#include "audio/VADModelManager.h"
#include "audio/VADProcessingService.h"
#include "audio/VoiceActivityDetector.h"
#include "base/Clock.h"
#include "base/Result.h"
#include "base/async/Executor.h"
#include "base/async/WorkerPool.h"
#include "base/log/Logger.h"
#include "core/AppState.h"
#include "diagnostics/AppLogger.h"
#include "files/FileTranscriptionFlow.h"
#include "models/ModelImporter.h"
#include "models/WhisperModelManager.h"
#include "ports/AudioResampler.h"
#include "ports/CrashReporter.h"
#include "ports/DefaultsStore.h"
#include "ports/HttpDownloader.h"
#include "ports/LogArchive.h"
#include "ports/MediaEncoder.h"
#include "ports/MediaReader.h"
#include "ports/NetworkStatus.h"
#include "ports/SpeechEngine.h"
#include "ports/VoiceActivityModel.h"
#include "ports/WavWriter.h"
#include "postprocessing/VocabularyProcessor.h"
#include "providers/LibWhisperProvider.h"
#include "providers/TranscriptionModelManager.h"
#include "providers/TranscriptionProviderRouter.h"
#include "providers/UserNotices.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "transcripts/HistorySweeper.h"
#include "transcripts/ModelPreparation.h"
#include "transcripts/PipelineTranscriptRoad.h"
#include "transcripts/TranscriptionPipeline.h"
#include "transcripts/TranscriptionRetryController.h"

namespace quillmere {

struct ServiceOptions {
  QString processName = QStringLiteral("quillmere");
  // Also gets every log line, beside the log files.
  std::shared_ptr<LogSink> extraLogSink;
  UserNotices* notices = nullptr;  // null: what is told goes nowhere
  // Shows the name of the mode that was chosen by its key.
  std::function<void(const QString& modeName)> showModeChange = {};
  // Without the store only settings and models are there; `persistence` and what needs it stay null.
  bool opensStore = true;
  // How long a finished progress display stays up.
  Duration completionLinger = std::chrono::milliseconds(500);
};

// Every long-lived object, in the order in which they are built; they go in the reverse order. Main thread.
struct Services {
  Paths paths;
  std::unique_ptr<Clock> clock;
  std::unique_ptr<Executor> executor;
  Logging logging;
  std::unique_ptr<DefaultsStore> defaults;
  std::unique_ptr<CrashReporter> crashReporter;
  std::unique_ptr<LogArchive> logArchive;
  std::unique_ptr<AppLogger> appLogger;
  std::unique_ptr<NetworkStatus> network;
  std::unique_ptr<LazyMedia> media;
  std::unique_ptr<MediaReaderFactory> mediaReaders;
  std::unique_ptr<AudioResamplerFactory> resamplers;
  std::unique_ptr<MediaEncoder> mediaEncoder;
  std::unique_ptr<WavWriterFactory> wavWriters;
  std::unique_ptr<SpeechEngine> speechEngine;
  std::unique_ptr<VoiceActivityModel> voiceActivityModel;  // loaded by the first recording that needs it
  std::unique_ptr<HttpDownloader> downloader;
  std::unique_ptr<WorkerPool> audioWorkers;   // "audio.conversion": what a decode waits for
  std::unique_ptr<WorkerPool> encodeWorkers;  // "audio.encoding": what nothing waits for
  std::unique_ptr<WorkerPool> fileWorkers;
  std::unique_ptr<SettingsManager> settings;
  std::unique_ptr<AudioConverter> audioConverter;
  std::unique_ptr<AudioFileConverter> audioFileConverter;
  std::unique_ptr<VADModelManager> vadModelManager;
  std::unique_ptr<VoiceActivityDetector> voiceActivityDetector;
  std::unique_ptr<VADProcessingService> vadProcessingService;
  std::unique_ptr<WhisperModelManager> modelManager;
  std::unique_ptr<ModelImporter> modelImporter;

  std::unique_ptr<PersistenceController> persistence;
  std::unique_ptr<HistorySweeper> historySweeper;  // started by those who run for long
  std::unique_ptr<VocabularyProcessor> vocabularyProcessor;
  std::unique_ptr<LibWhisperProvider> localProvider;
  std::unique_ptr<TranscriptionProviderRouter> router;
  std::unique_ptr<TranscriptionModelManager> modelCoordinator;
  std::unique_ptr<ModelPreparation> modelPreparation;
  std::unique_ptr<TranscriptionPipeline> pipeline;
  std::unique_ptr<TranscriptRoad> road;
  std::unique_ptr<TranscriptionRetryController> retryHandler;
  std::unique_ptr<UserNotices> noNotices;  // where nobody is to be told
  std::unique_ptr<AppState> appState;
  std::unique_ptr<FileTranscriptionFlow> fileFlow;
};

// Fails only when the store can't be opened; the error's description is fit to be shown.
// Needs a QCoreApplication.
Result<std::unique_ptr<Services>, PlatformError> makeServices(const ServiceOptions& options);

}  // namespace quillmere
