#pragma once
#include <QDir>

#include "audio/AudioFileConverter.h"
#include "core/AppState.h"
#include "core/AudioRecordingManager.h"
#include "core/ShortcutNames.h"
#include "postprocessing/VocabularyProcessor.h"
#include "providers/TranscriptionModelManager.h"
#include "providers/TranscriptionProviderRouter.h"
#include "recording/AudioDeviceManager.h"
#include "recording/RecordingLifecycle.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "support/FakeDesktop.h"
#include "support/FakeKeyEventMonitor.h"
#include "support/LocalEngineFixture.h"
#include "transcripts/ModelPreparation.h"
#include "transcripts/TranscriptionPipeline.h"
#include "triggers/BareModifierKeyMonitor.h"

namespace quillmere {

// The whole recording side over its real classes; the platform and the speech engine are made up.
struct RecordingManagerFixture : LocalEngineFixture, FakeDesktop {
  RecordingManagerFixture() {
    settings.storage().setRecordingsFolder(folder.filePath(QStringLiteral("recordings")));
    settings.storage().setStoreAsM4A(false);
    QDir().mkpath(settings.storage().recordingsFolder());
    store = std::move(*PersistenceController::open(PersistenceController::inMemory(), clock, logging));
    vocabulary = std::make_unique<VocabularyProcessor>(*store, logging);
    TranscriptionEngines engines;
    engines.localProvider = provider.get();
    router = std::make_unique<TranscriptionProviderRouter>(engines, network, &reporting, logging);
    TranscriptionModelServices modelServices;
    modelServices.localProvider = provider.get();
    models = std::make_unique<TranscriptionModelManager>(modelServices, *store, 4, logging);
    TranscriptionPipelineServices use{executor, clock, *store, settings, *vocabulary, *router, *models, files};
    pipeline = std::make_unique<TranscriptionPipeline>(std::move(use), logging);
    preparation = std::make_unique<ModelPreparation>(executor, *store, *models, logging);
    devices.list = {FakeAudioDevices::microphone(1, QStringLiteral("built-in"), QStringLiteral("Built-in")),
                    FakeAudioDevices::microphone(2, QStringLiteral("usb"), QStringLiteral("Desk"))};
    devices.defaultUid = QStringLiteral("built-in");
    ModeData data;
    data.id = QUuid::fromString(QString::fromLatin1(defaultModeId));
    data.name = QStringLiteral("Default");
    data.model = QStringLiteral("base");
    defaultMode = store->saveMode(data);
    defaultMode->isDefault = true;
    store->save();
  }

  void makeManager() {
    const AudioRecordingPorts ports{recorders,     devices,    outputVolume, playback,   authorization,
                                    powerActivity, fileEvents, workspace,    pasteboard, keySynthesizer,
                                    accessibility, keyboard,   shortcuts};
    AudioRecordingServices use{executor,  clock,   defaults,      settings, *store,  state,
                               *pipeline, samples, fileConverter, vad,      network, folders};
    use.errorReporting = &reporting;
    manager = std::make_unique<AudioRecordingManager>(ports, use, AudioRecordingHooks(), logging);
  }
  void configure() {
    makeManager();
    runTask(executor, manager->configure());
    executor.runReady();
  }
  bool isRecording() const { return manager->isRecordingNow(); }
  void toggle(RecordingTriggerSource trigger = RecordingTriggerSource::uiButton) {
    manager->toggleRecording(std::nullopt, false, trigger);
    executor.runReady();
  }
  int said(const QString& line) const { return int(log->lines().count(line)); }

  StandardFolders folders{folder.filePath("data"), folder.filePath("Documents"), folder.filePath("Downloads"),
                          folder.filePath("tmp")};
  SettingsManager settings{defaults, folders, logging};
  AppState state{executor, defaults, &settings, &notices, logging};
  AudioFileConverter fileConverter{samples, encoder, files, logging};
  FakeKeyEventMonitor keyboard;
  std::unique_ptr<PersistenceController> store;
  std::unique_ptr<VocabularyProcessor> vocabulary;
  std::unique_ptr<TranscriptionProviderRouter> router;
  std::unique_ptr<TranscriptionModelManager> models;
  std::unique_ptr<TranscriptionPipeline> pipeline;
  std::unique_ptr<ModelPreparation> preparation;
  ModePtr defaultMode;
  std::unique_ptr<AudioRecordingManager> manager;
};

}  // namespace quillmere
