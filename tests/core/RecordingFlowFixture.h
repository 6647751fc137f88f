#pragma once
#include <QDir>
#include <QTemporaryDir>

#include "context/ApplicationContextGatherer.h"
#include "context/SelectedTextService.h"
#include "core/AppState.h"
#include "core/FakeModeReadiness.h"
#include "core/RecordingTranscriptionFlow.h"
#include "core/ScriptedTranscriber.h"
#include "core/ShortcutNames.h"
#include "delivery/AccessibilityPermission.h"
#include "delivery/AutoPasteHandler.h"
#include "projects/SpokenFileTags.h"
#include "recording/AudioDeviceManager.h"
#include "recording/FileWatcher.h"
#include "recording/MicrophonePermissionManager.h"
#include "recording/PowerActivityManager.h"
#include "recording/RecordingEnvironment.h"
#include "recording/RecordingFinisher.h"
#include "recording/RecordingLifecycle.h"
#include "recording/RecordingSessionManager.h"
#include "recording/SimpleRecorder.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "support/FakeDesktop.h"
#include "support/ManualExecutor.h"
#include "support/PlainSamples.h"
#include "support/RecordingLogSink.h"
#include "transcripts/PipelineTranscriptRoad.h"

namespace quillmere {

// What the platform made up below may still hold.
struct VirtualTime {
  ManualExecutor executor;
};

// The flow over the real recording, delivery and context classes; only the platform and the transcription are made up.
// A text field of another application has the keyboard. Nothing is converted to M4A unless a test says so.
struct RecordingFlowFixture : VirtualTime, FakeDesktop {
  enum class Store { inMemory, onDisk };
  explicit RecordingFlowFixture(Store store = Store::inMemory)
      : storeAt(store == Store::onDisk ? std::optional(folder.filePath(QStringLiteral("store.sqlite")))
                                       : PersistenceController::inMemory()) {
    settings.storage().setRecordingsFolder(folder.filePath(QStringLiteral("recordings")));
    settings.storage().setStoreAsM4A(false);
    QDir().mkpath(settings.storage().recordingsFolder());
    ModeData data;
    data.name = QStringLiteral("Letters");
    mode = persistence->createMode(data);
    appState.selectMode(*mode, false);
    devices.list = {FakeAudioDevices::microphone(7, QStringLiteral("mic.usb"), QStringLiteral("Desk microphone"))};
    devices.defaultUid = QStringLiteral("mic.usb");
    deviceManager.scanDevices(DeviceScanReason::initialBootstrap);
    permission.refreshPermission();
    lifecycle.setHasMicrophonePermission(true);
    workspace.frontmost = editor;
    accessibility.addApplication(editor.processId, node(QStringLiteral("AXWindow")));
    accessibility.focus(node(QStringLiteral("AXTextField"))->with(QStringLiteral("AXValue"), QString()));
    makeFlow();
  }

  DictationServices services() {
    DictationServices use{executor, appState,  lifecycle, sessions,  deviceManager, permission,
                          power,    watcher,   autoPaste, gatherer,  selection,     *persistence,
                          settings, workspace, road,      readiness, shortcuts,     reporting};
    use.recoverRecordingsFolder = [this] { return answerRecovery(recoversFolder); };
    return use;
  }
  // Another flow in the place of the one there is; `change` takes away or adds what it works with.
  void makeFlow(const std::function<void(DictationServices&)>& change = {}) {
    auto use = services();
    if (change) change(use);
    flow.reset();
    flow = std::make_unique<RecordingTranscriptionFlow>(std::move(use), logging);
  }
  static Task<bool> answerRecovery(bool answer) { co_return answer; }

  // --- what a user does
  void press(RecordingTriggerSource trigger = RecordingTriggerSource::shortcut) {
    flow->toggleRecording(std::nullopt, false, trigger);
  }
  // A recording of that length is on.
  void record(Duration length = std::chrono::seconds(2)) {
    press();
    executor.runReady();
    executor.advance(length);
  }
  // Time enough for everything that follows a stop.
  void settle() { executor.advance(std::chrono::seconds(8)); }
  void dictate(Duration length = std::chrono::seconds(2)) {
    record(length);
    press();
    settle();
  }

  // --- what is to be seen
  const AppStateData& state() const { return appState.data(); }
  QString stateLabel() const { return state().recordingState.diagnosticLabel(); }
  std::vector<TranscriptPtr> rows() { return persistence->fetchTranscripts(-1); }
  // "completed Hello there." of the only row; "" without one.
  QString onlyRow() {
    const auto all = rows();
    if (all.size() != 1) return all.empty() ? QString() : QStringLiteral("%1 rows").arg(all.size());
    return all.front()->status.value_or(QString()) + u' ' + all.front()->text.value_or(QString());
  }
  QStringList files() const {
    return QDir(settings.storage().recordingsFolder()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
  }
  QStringList toasts() const {
    QStringList shown;
    for (const auto& [text, isCritical] : notices.toasts) shown << text;
    return shown;
  }
  bool isCancelShortcutOn() const {
    return shortcuts.hasHandlers(shortcutNames::cancelRecording) && shortcuts.isEnabled(shortcutNames::cancelRecording);
  }
  QStringList pastedTexts() const {
    QStringList pasted;
    for (const auto& write : pasteboard.writes)
      if (write.isConcealed) pasted << write.text;
    return pasted;
  }

  QTemporaryDir folder;
  const PersistenceController::Location storeAt;
  std::shared_ptr<RecordingLogSink> log = std::make_shared<RecordingLogSink>();
  Logging logging{log};
  FakeModeReadiness readiness;
  PlainSamples samples;
  ScriptedTranscriber transcriber;
  bool recoversFolder = false;
  RunningApplication editor{42, QStringLiteral("org.example.Editor"), QStringLiteral("Editor"),
                            QStringLiteral("Letter"), false};
  StandardFolders folders{folder.filePath(QStringLiteral("data")), folder.filePath(QStringLiteral("documents")),
                          folder.filePath(QStringLiteral("downloads")), folder.filePath(QStringLiteral("temporary"))};

  WorkerPool workers{1, QStringLiteral("conversion")};
  SettingsManager settings{defaults, folders, logging, &reporting};
  std::unique_ptr<PersistenceController> persistence = std::move(*PersistenceController::open(storeAt, clock, logging));
  AppState appState{{executor, defaults, settings, *persistence, network, notices}, logging};
  AudioFileConverter converter{samples, encoder, workers, logging};
  AudioDeviceManager deviceManager{devices, settings.audio(), executor, &reporting, logging};
  MicrophonePermissionManager permission{authorization, &reporting};
  RecordingSessionManager sessions{*persistence, clock, processLocks, logging};
  SimpleRecorder recorder{recorders, executor, logging};
  AudioSessionManager audioSession{outputVolume, playback, clock, logging};
  RecordingEnvironment environment{{executor, devices, outputVolume, audioSession, settings.audio(), processLocks},
                                   logging};
  RecordingFinisher finisher{{converter, samples, sessions, *persistence, &reporting}, logging};
  RecordingLifecycle lifecycle{
      {executor, clock, recorder, deviceManager, sessions, environment, finisher, settings, &reporting}, logging};
  FileWatcher watcher{fileEvents, &reporting, logging};
  PowerActivityManager power{powerActivity, logging};
  AccessibilityPermission accessibilityPermission{accessibility, executor, {}, logging};
  AutoPasteHandler autoPaste{
      {pasteboard, keySynthesizer, workspace, accessibility, accessibilityPermission, &settings, executor},
      {},
      logging};
  ElectronAppDetector electron{logging};
  ApplicationContextGatherer gatherer{workspace, accessibility, electron};
  SelectedTextReader reader{workspace, accessibility, pasteboard, logging};
  SelectedTextService selection{accessibility, reader, logging};
  PipelineTranscriptRoad road{{clock, *persistence, settings, vad, transcriber}, logging};
  ModePtr mode;
  std::unique_ptr<RecordingTranscriptionFlow> flow;
};

}  // namespace quillmere
