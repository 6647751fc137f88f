#include "core/GlobalHotkeys.h"

#include "core/AppState.h"
#include "core/DictationControl.h"
#include "core/ShortcutNames.h"
#include "ports/GlobalShortcuts.h"
#include "storage/SettingsManager.h"

namespace quillmere {
namespace {

// A second release within this time is a bounce.
constexpr Duration toggleRestTime = std::chrono::milliseconds(300);

}  // namespace

GlobalHotkeys::GlobalHotkeys(Services services, const Logging& logging)
    : services_(std::move(services)), logger_(logging.logger(QStringLiteral("GlobalHotkeys"))) {}

void GlobalHotkeys::setupGlobalHotkeys() {
  assertCurrent(services_.executor);
  if (std::exchange(isSetUp_, true)) {
    logger_.info("🔧 Global hotkeys already configured, skipping duplicate setup");
    return;
  }
  logger_.info("🔧 Setting up global hotkeys...");
  services_.shortcuts.setHandlers(QString::fromLatin1(shortcutNames::toggleRecordingWithTranscription),
                                  {later(&GlobalHotkeys::toggleKeyDown), later(&GlobalHotkeys::toggleKeyUp)});
  onKeyUp(shortcutNames::startStreaming, &GlobalHotkeys::startStreaming);
  onKeyUp(shortcutNames::changeMode, &GlobalHotkeys::changeMode);
  onKeyUp(shortcutNames::toggleMiniWindow, &GlobalHotkeys::toggleMiniWindow);
  onKeyUp(shortcutNames::toggleMainWindow, &GlobalHotkeys::toggleMainWindow);
  if (services_.configurePushToTalk) services_.configurePushToTalk();
  logger_.info("✅ Global hotkeys setup complete");
}

void GlobalHotkeys::toggleKeyDown() {
  setHeld(true);
}

void GlobalHotkeys::toggleKeyUp() {
  const TimePoint now = services_.executor.now();
  if (lastToggleShortcutTime_ && now - *lastToggleShortcutTime_ < toggleRestTime) {
    const auto since = std::chrono::duration_cast<std::chrono::milliseconds>(now - *lastToggleShortcutTime_);
    logger_.info("🚫 Ignoring rapid toggle (pressed %ldms after previous)", since.count());
    setHeld(false);
    return;
  }
  lastToggleShortcutTime_ = now;
  if (services_.dictation == nullptr) {
    logger_.error("Error: AudioManager not available");
  } else {
    services_.dictation->toggleRecording(std::nullopt, false, RecordingTriggerSource::shortcut);
    logger_.info("⌨️ Toggled recording via keyboard shortcut");
  }
  setHeld(false);
}

void GlobalHotkeys::startStreaming() {
  if (services_.settings == nullptr || services_.dictation == nullptr) return;
  if (!services_.settings->streamingEnabled()) {
    logger_.info("📡 Streaming shortcut pressed but streaming is disabled");
    return;
  }
  if (services_.dictation->isRecordingNow()) {
    services_.dictation->toggleRecording(std::nullopt, false, RecordingTriggerSource::streamingShortcut);
    return;
  }
  if (services_.appState != nullptr)
    services_.appState->update([](AppStateData& data) { data.isStreamingShortcutTriggered = true; });
  services_.dictation->toggleRecording(std::nullopt, false, RecordingTriggerSource::streamingShortcut);
  logger_.info("📡 Started streaming transcription with language: %{public}s", services_.settings->streamingLanguage());
}

void GlobalHotkeys::changeMode() {
  if (services_.appState == nullptr || !services_.appState->cycleToNextMode()) return;
  logger_.info("🔄 Cycled to mode: %s via keyboard shortcut", services_.appState->data().selectedModeName);
}

void GlobalHotkeys::toggleMiniWindow() {
  if (services_.toggleMiniWindow) services_.toggleMiniWindow();
}

void GlobalHotkeys::toggleMainWindow() {
  if (!services_.toggleMainWindow) return;
  if (services_.toggleMainWindow())
    logger_.info("🪟 Shown main window via keyboard shortcut");
  else
    logger_.info("🪟 Hidden main window via keyboard shortcut");
}

void GlobalHotkeys::setHeld(bool isHeld) {
  if (services_.appState == nullptr) return;
  services_.appState->update([isHeld](AppStateData& data) { data.isToggleRecordingShortcutHeld = isHeld; });
}

void GlobalHotkeys::onKeyUp(const char* name, void (GlobalHotkeys::*handler)()) {
  services_.shortcuts.setHandlers(QString::fromLatin1(name), {{}, later(handler)});
}

std::function<void()> GlobalHotkeys::later(void (GlobalHotkeys::*handler)()) {
  return lifetime_.later(services_.executor, [this, handler] { (this->*handler)(); });
}

}  // namespace quillmere
