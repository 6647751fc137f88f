#pragma once
#include "core/AudioRecordingManager.h"
#include "core/PushToTalk.h"
#include "core/RecordingFlowFixture.h"
#include "support/FakeKeyEventMonitor.h"
#include "support/RunTask.h"
#include "triggers/BareModifierKeyMonitor.h"

namespace quillmere {

// The flow with the keys that drive it.
struct RecordingManagerFixture : RecordingFlowFixture {
  AudioRecordingManager::Parts parts() {
    return {executor, defaults,  settings,        deviceManager, permission,
            recorder, lifecycle, modifierMonitor, pushToTalk,    accessibilityPermission};
  }
  PushToTalk::Services triggers() {
    PushToTalk::Services use{executor, *flow, modifierMonitor};
    use.shortcuts = &shortcuts;
    use.settings = &settings;
    use.appState = &appState;
    use.errorReporting = &reporting;
    use.isTrustedForAccessibility = [this] { return accessibilityPermission.isTrusted(); };
    use.watchForAccessibility = [this] { accessibilityPermission.startPolling(); };
    return use;
  }
  void configure() {
    runTask(executor, manager->configure());
    executor.runReady();
  }
  int said(const QString& line) const { return int(log->lines().count(line)); }

  FakeKeyEventMonitor keyboard;
  BareModifierKeyMonitor modifierMonitor{keyboard, executor, nullptr, logging};
  PushToTalk pushToTalk{triggers(), logging};
  std::unique_ptr<AudioRecordingManager> manager = std::make_unique<AudioRecordingManager>(parts(), logging);
};

}  // namespace quillmere
