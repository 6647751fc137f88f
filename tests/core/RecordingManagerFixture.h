#pragma once
#include <QDir>

#include "audio/AudioFileConverter.h"
#include "audio/VADProcessing.h"
#include "core/AppState.h"
#include "core/AudioRecordingManager.h"
#include "core/ShortcutNames.h"
#include "core/TranscriptionPipeline.h"
#include "postprocessing/VocabularyProcessor.h"
#include "providers/TranscriptionModelManager.h"
#include "providers/TranscriptionProviderRouter.h"
#include "recording/AudioDeviceManager.h"
#include "recording/RecordingLifecycle.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "support/FakeAccessibility.h"
#include "support/FakeAudioDevices.h"
#include "support/FakeAudioRecorder.h"
#include "support/FakeDefaultsStore.h"
#include "support/FakeErrorReporting.h"
#include "support/FakeFileEvents.h"
#include "support/FakeGlobalShortcuts.h"
#include "support/FakeKeyEventMonitor.h"
#include "support/FakeKeySynthesizer.h"
#include "support/FakeMediaEncoder.h"
#include "support/FakeMediaPlayback.h"
#include "support/FakeMicrophoneAuthorization.h"
#include "support/FakeNetworkStatus.h"
#include "support/FakeOutputVolume.h"
#include "support/FakePasteboard.h"
#include "support/FakePowerActivity.h"
#include "support/FakeUserNotices.h"
#include "support/FakeWorkspace.h"
#include "support/LocalEngineFixture.h"
#include "support/TestTexts.h"
#include "triggers/BareModifierKeyMonitor.h"

namespace quillmere {

class NoTrimming final : public VADProcessing {
 public:
  Task<VADProcessingResult> process(QString audioPath, double, bool, QString) override {
    VADProcessingResult result;
    result.originalAudioPath = audioPath;
    result.finalAudioPath = audioPath;
    co_return result;
  }
};

// The whole recording side over its real classes; the platform and the speech engine are made up.
struct RecordingManagerFixture : LocalEngineFixture {
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
    models = std::make_unique<TranscriptionModelManager>(modelServices, *store, folder.path(), 4, logging);
    TranscriptionPipelineServices use{executor, clock, *store, defaults, *vocabulary, *router, *models, files};
    use.localProvider = provider.get();
    use.appState = &state;
    pipeline = std::make_unique<TranscriptionPipeline>(std::move(use), logging);
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
    const AudioRecordingPorts ports{recorders, devices,    output, playback,      authorization, power,    events,
                                    workspace, pasteboard, keys,   accessibility, keyboard,      shortcuts};
    AudioRecordingServices use{executor,  clock,   defaults,      settings, *store,  state,
                               *pipeline, samples, fileConverter, trimming, network, folders};
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

  TestTexts texts;
  FixedClock clock{QDateTime::fromSecsSinceEpoch(1'700'000'000)};
  FakeErrorReporting reporting;
  FakeDefaultsStore defaults;
  FakeUserNotices notices;
  FakeNetworkStatus network;
  StandardFolders folders{folder.filePath("data"), folder.filePath("Documents"), folder.filePath("Downloads"),
                          folder.filePath("tmp")};
  SettingsManager settings{defaults, folders, logging};
  AppState state{executor, defaults, &settings, &notices, logging};
  FakeMediaEncoder encoder;
  AudioFileConverter fileConverter{samples, encoder, files, logging};
  NoTrimming trimming;

  FakeAudioRecorderFactory recorders;
  FakeAudioDevices devices;
  FakeOutputVolume output;
  FakeMediaPlayback playback;
  FakeMicrophoneAuthorization authorization;
  FakePowerActivity power;
  FakeFileEvents events;
  FakeWorkspace workspace;
  FakePasteboard pasteboard;
  FakeKeySynthesizer keys;
  FakeAccessibility accessibility;
  FakeKeyEventMonitor keyboard;
  FakeGlobalShortcuts shortcuts;

  std::unique_ptr<PersistenceController> store;
  std::unique_ptr<VocabularyProcessor> vocabulary;
  std::unique_ptr<TranscriptionProviderRouter> router;
  std::unique_ptr<TranscriptionModelManager> models;
  std::unique_ptr<TranscriptionPipeline> pipeline;
  ModePtr defaultMode;
  std::unique_ptr<AudioRecordingManager> manager;
};

}  // namespace quillmere
