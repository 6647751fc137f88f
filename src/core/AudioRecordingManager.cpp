#include "core/AudioRecordingManager.h"

#include "base/async/Await.h"
#include "core/PushToTalk.h"
#include "delivery/AccessibilityPermission.h"
#include "ports/DefaultsStore.h"
#include "recording/AudioDeviceManager.h"
#include "recording/MicrophonePermissionManager.h"
#include "recording/RecordingLifecycle.h"
#include "recording/SimpleRecorder.h"
#include "storage/SettingsManager.h"
#include "triggers/BareModifierKeyMonitor.h"

namespace quillmere {
namespace {

constexpr Duration accessibilityPatience = std::chrono::seconds(1);
constexpr Duration accessibilityPace = std::chrono::milliseconds(20);

}  // namespace

AudioRecordingManager::AudioRecordingManager(const Parts& parts, const Logging& logging)
    : use_(parts), logger_(logging.logger(QStringLiteral("AudioRecordingManager"))), scope_(parts.executor) {
  bindState();
  use_.permission.refreshPermission();
}

AudioRecordingManager::~AudioRecordingManager() {
  if (defaultsObserver_) use_.defaults.removeObserver(*defaultsObserver_);
}

// Most state is read where it arises; here is what has to be carried from one part to another.
void AudioRecordingManager::bindState() {
  const auto follow = [this](auto& published, auto observer) {
    subscriptions_.push_back(published.observe(std::move(observer)));
  };
  follow(use_.lifecycle.audioLevel(), [this](float level) { liveMetrics_.audioLevel.set(level); });
  follow(use_.lifecycle.recordingDuration(), [this](double seconds) { liveMetrics_.recordingDuration.set(seconds); });
  // Whoever ended it: neither a hold nor a lock outlives its recording.
  follow(use_.lifecycle.isRecording(), [this](bool isRecording) {
    if (!isRecording) use_.modifierMonitor.resetToIdle();
  });
  follow(use_.permission.hasMicrophonePermission(),
         [this](bool hasPermission) { use_.lifecycle.setHasMicrophonePermission(hasPermission); });
  follow(use_.accessibility.isGranted(), [this](bool isGranted) {
    if (isGranted && isConfigured_) use_.pushToTalk.configure();
  });
}

Task<void> AudioRecordingManager::configure() {
  co_await use_.devices.waitUntilReady();
  use_.devices.scanDevices(DeviceScanReason::initialBootstrap);
  defaultsObserver_ = use_.defaults.addObserver([this](const QString& key) { settingChanged(key); });
  use_.recorder.prepare();
  co_await waitForAccessibility();
  isConfigured_ = true;
  use_.pushToTalk.configure();
  logger_.info("AudioRecordingManager configured with dependencies");
}

// When a desktop has just begun, its accessibility bus may need a moment; that is no missing permission yet.
Task<void> AudioRecordingManager::waitForAccessibility() {
  const auto key = PushToTalk::modifierOf(use_.settings.pushToTalkMode());
  if (!key || !use_.modifierMonitor.canSee(*key)) co_return;
  const TimePoint end = use_.executor.now() + accessibilityPatience;
  while (!use_.accessibility.isTrusted() && use_.executor.now() < end) co_await sleepFor(accessibilityPace);
}

void AudioRecordingManager::settingChanged(const QString& key) {
  // Only what concerns it: setting push-to-talk up anew would lose the release of a key that is held.
  if (PushToTalk::isConcernedBy(key)) use_.pushToTalk.configure();
}

}  // namespace quillmere
