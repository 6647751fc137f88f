#pragma once
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
#include "recording/FileWatcher.h"
#include "recording/MicrophonePermissionManager.h"
#include "recording/PowerActivityManager.h"
#include "recording/RecordingSide.h"
#include "transcripts/PipelineTranscriptRoad.h"

namespace quillmere {

// The flow over the real recording, delivery and context classes; only the platform and the transcription are made up.
// A text field of another application has the keyboard. Nothing is converted to M4A unless a test says so.
struct RecordingFlowFixture : RecordingSide {
  explicit RecordingFlowFixture(Store store = Store::inMemory) : RecordingSide(store) {
    settings.storage().setStoreAsM4A(false);
    QDir().mkpath(recordings());
    ModeData data;
    data.name = "Letters";
    mode = persistence->createMode(data);
    appState.selectMode(*mode, false);
    devices.list = {FakeAudioDevices::microphone(7, "mic.usb", "Desk microphone")};
    devices.defaultUid = "mic.usb";
    deviceManager.scanDevices(DeviceScanReason::initialBootstrap);
    permission.refreshPermission();
    workspace.frontmost = editor;
    accessibility.addApplication(editor.processId, node("AXWindow"));
    accessibility.focus(node("AXTextField")->with("AXValue", QString()));
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

  FakeModeReadiness readiness;
  ScriptedTranscriber transcriber;
  bool recoversFolder = false;
  RunningApplication editor{42, "org.example.Editor", "Editor", "Letter", false};
  AppState appState{{executor, defaults, settings, *persistence, network, notices}, logging};
  MicrophonePermissionManager permission{authorization, &reporting};
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
