#include "app/composition.h"

#include <QCoreApplication>
#include <QRandomGenerator>
#include <QThread>

#include "app/TeeLogSink.h"
#include "models/ModelHub.h"
#include "platform/linux/JsonLinesArchive.h"
#include "platform/linux/JsonLinesLog.h"
#include "platform/linux/LinuxDeploymentValues.h"
#include "platform/linux/LocalCrashReporter.h"
#include "platform/linux/ProcessIdentity.h"
#include "platform/qt/QtDefaultsStore.h"
#include "platform/qt/QtExecutor.h"
#include "platform/qt/QtHttpDownloader.h"
#include "platform/qt/QtNetworkStatus.h"
#include "platform/sndfile/SndfileWavWriterFactory.h"
#include "platform/whisper/WhisperSpeechEngine.h"
#include "platform/whisper/WhisperVoiceActivityModel.h"
#include "storage/SettingsTable.h"

namespace quillmere {
namespace {

class NoNotices final : public UserNotices {
 public:
  void showToast(const QString&, bool) override {}
};

std::shared_ptr<LogSink> makeLogSink(const Paths& paths, const ServiceOptions& options) {
  JsonLinesLog::Options log;
  log.folder = paths.logsFolder;
  log.processName = options.processName;
  auto file = std::make_shared<JsonLinesLog>(log);
  if (!options.extraLogSink) return file;
  return std::make_shared<TeeLogSink>(std::vector<std::shared_ptr<LogSink>>{file, options.extraLogSink});
}

void buildDiagnostics(Services& s) {
  LocalCrashReporter::Options reports;
  reports.folder = s.paths.logsFolder;
  s.crashReporter = std::make_unique<LocalCrashReporter>(reports, *s.clock, s.logging);
  s.logArchive = std::make_unique<JsonLinesArchive>(s.paths.logsFolder);
  DefaultsStore& defaults = *s.defaults;
  s.appLogger = std::make_unique<AppLogger>(
      s.logging, *s.crashReporter, *s.logArchive, *s.clock,
      [&defaults] { return flagSetting(defaults, QStringLiteral("enableErrorLogging")); },
      [] { return QRandomGenerator::global()->generateDouble(); });
  if (s.appLogger->isEnabled()) {
    DeploymentValues deployment = linuxDeploymentValues();
    deployment.version = QCoreApplication::applicationVersion();
    // The reporter of this build keeps everything on this machine, so it needs no address to be trusted with.
    if (!deployment.crashReportDsn) deployment.crashReportDsn = QStringLiteral("local");
    s.appLogger->startCrashReporting(deployment);
  }
}

void buildSilenceTrimming(Services& s) {
  s.vadModelManager = std::make_unique<VADModelManager>(s.paths.bundledModelFolders, s.logging);
  s.voiceActivityDetector =
      std::make_unique<VoiceActivityDetector>(*s.voiceActivityModel, *s.vadModelManager, s.logging);
  VADProcessingService::Dependencies use{*s.voiceActivityDetector, *s.audioConverter, *s.audioFileConverter,
                                         *s.mediaReaders,          *s.wavWriters,     *s.fileWorkers};
  use.errorReporting = s.appLogger.get();
  s.vadProcessingService = std::make_unique<VADProcessingService>(use, s.logging);
}

void buildModels(Services& s) {
  SettingsManager& settings = *s.settings;
  WhisperModelManagerConfiguration configuration;
  configuration.modelsDirectory = s.paths.modelsFolder;
  configuration.hubBaseUrl = [&settings] {
    return chosenModelHub(qEnvironmentVariable(modelHubEnvironmentVariable), settings.modelHubUrl());
  };
  configuration.modelDisplayNames = [&settings] { return settings.modelDisplayNames(); };
  s.modelManager = std::make_unique<WhisperModelManager>(std::move(configuration), *s.downloader, *s.executor,
                                                         *s.fileWorkers, s.logging);
  s.modelImporter = std::make_unique<ModelImporter>(s.paths.modelsFolder, *s.fileWorkers, s.logging);
}

void buildPipeline(Services& s, const ServiceOptions& options) {
  const int processors = QThread::idealThreadCount();
  s.vocabularyProcessor = std::make_unique<VocabularyProcessor>(*s.persistence, s.logging);
  s.localProvider = std::make_unique<LibWhisperProvider>(*s.executor, *s.speechEngine, *s.modelManager,
                                                         *s.audioConverter, processors, s.logging);
  TranscriptionEngines engines;
  engines.localProvider = s.localProvider.get();
  s.router = std::make_unique<TranscriptionProviderRouter>(engines, *s.network, s.appLogger.get(), s.logging);
  TranscriptionModelServices modelServices;
  modelServices.localProvider = s.localProvider.get();
  modelServices.notices = options.notices;
  modelServices.errorReporting = s.appLogger.get();
  s.modelCoordinator =
      std::make_unique<TranscriptionModelManager>(modelServices, *s.persistence, processors, s.logging);
  s.modelPreparation = std::make_unique<ModelPreparation>(*s.executor, *s.persistence, *s.modelCoordinator, s.logging);
  TranscriptionPipelineServices services{
      *s.executor,         *s.clock,      *s.persistence, *s.settings, *s.vocabularyProcessor, *s.router,
      *s.modelCoordinator, *s.fileWorkers};
  services.errorReporting = s.appLogger.get();
  s.pipeline = std::make_unique<TranscriptionPipeline>(std::move(services), s.logging);
  s.road = std::make_unique<PipelineTranscriptRoad>(
      PipelineTranscriptRoad::Services{*s.clock, *s.persistence, *s.settings, *s.vadProcessingService, *s.pipeline},
      s.logging);
  s.retryHandler = std::make_unique<TranscriptionRetryController>(*s.persistence, *s.road, s.logging);
  s.noNotices = std::make_unique<NoNotices>();
  AppState::Dependencies state{
      *s.executor,           *s.defaults, *s.settings,
      *s.persistence,        *s.network,  options.notices != nullptr ? *options.notices : *s.noNotices,
      options.showModeChange};
  s.appState = std::make_unique<AppState>(std::move(state), s.logging);

  FileTranscriptionFlow::Dependencies flow{*s.executor,           *s.clock, *s.fileWorkers, *s.persistence, *s.settings,
                                           *s.audioFileConverter, *s.road};
  flow.completionLinger = options.completionLinger;
  s.fileFlow = std::make_unique<FileTranscriptionFlow>(flow, s.logging);
}

}  // namespace

Result<std::unique_ptr<Services>, PlatformError> makeServices(const ServiceOptions& options) {
  auto services = std::make_unique<Services>();
  Services& s = *services;
  s.paths = Paths::fromEnvironment();
  s.clock = std::make_unique<SystemClock>();
  s.executor = std::make_unique<QtExecutor>();
  s.logging = Logging(makeLogSink(s.paths, options));
  s.defaults = std::make_unique<QtDefaultsStore>(s.paths.settingsFile);
  buildDiagnostics(s);
  s.network = std::make_unique<QtNetworkStatus>();
  s.media = std::make_unique<LazyMedia>(s.paths.mediaLibraries, s.logging);
  s.mediaReaders = std::make_unique<LazyMediaReaderFactory>(*s.media);
  s.resamplers = std::make_unique<LazyAudioResamplerFactory>(*s.media);
  s.mediaEncoder = std::make_unique<LazyMediaEncoder>(*s.media);
  s.wavWriters = std::make_unique<SndfileWavWriterFactory>();
  s.speechEngine = std::make_unique<WhisperSpeechEngine>(s.logging);
  s.voiceActivityModel = std::make_unique<WhisperVoiceActivityModel>(VADModelManager::sha256(), s.logging);
  s.downloader = std::make_unique<QtHttpDownloader>();
  s.audioWorkers = std::make_unique<WorkerPool>(1, QStringLiteral("audio.conversion"));
  s.encodeWorkers = std::make_unique<WorkerPool>(2, QStringLiteral("audio.encoding"));
  s.fileWorkers = std::make_unique<WorkerPool>(2, QStringLiteral("files"));
  s.settings = std::make_unique<SettingsManager>(*s.defaults, s.paths.standard, s.logging, s.appLogger.get());
  s.audioConverter = std::make_unique<AudioConverter>(*s.mediaReaders, *s.resamplers, *s.audioWorkers, s.logging);
  s.audioFileConverter =
      std::make_unique<AudioFileConverter>(*s.mediaReaders, *s.mediaEncoder, *s.encodeWorkers, s.logging);
  buildSilenceTrimming(s);
  buildModels(s);
  if (!options.opensStore) return services;

  auto store = PersistenceController::open(s.paths.storeFile, *s.clock, s.logging, s.appLogger.get(),
                                           QTimeZone::systemTimeZone(), {s.executor.get(), thisProcessIdentity()});
  if (!store) return Failed{store.error()};
  s.persistence = std::move(*store);
  HistorySweeper::Dependencies sweeper{*s.persistence, *s.executor, *s.fileWorkers, *s.clock, isProcessAlive};
  s.historySweeper = std::make_unique<HistorySweeper>(std::move(sweeper), s.logging);
  buildPipeline(s, options);
  return services;
}

}  // namespace quillmere
