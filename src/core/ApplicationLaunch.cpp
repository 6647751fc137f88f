#include "core/ApplicationLaunch.h"

#include "base/async/Await.h"
#include "core/AppState.h"
#include "core/AudioRecordingManager.h"
#include "core/GlobalHotkeys.h"
#include "core/SavedMode.h"
#include "core/ShortcutStore.h"
#include "recording/CrashRecoveryManager.h"
#include "recording/MusicBlocker.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "transcripts/ModelPreparation.h"

namespace quillmere {
namespace {

constexpr Duration orderOutDelay = std::chrono::milliseconds(100);
constexpr Duration onboardingDelay = std::chrono::milliseconds(500);

}  // namespace

ApplicationLaunch::ApplicationLaunch(Services services, const Logging& logging)
    : services_(std::move(services)),
      logger_(logging.logger(QStringLiteral("ApplicationLaunch"))),
      scope_(services_.executor) {}

ApplicationLaunch::~ApplicationLaunch() {
  for (const auto timer : timers_) services_.executor.cancelTimer(timer);
}

void ApplicationLaunch::start() {
  if (std::exchange(isStarted_, true)) return;
  startTime_ = services_.executor.now();
  if (services_.settings.general().blockAppleMusic()) blockMusic(true);
  wire();
  followSettings();
  scope_.spawn(bootstrapModels());
  scheduleWindows();
  scope_.spawn(run());
}

Task<void> ApplicationLaunch::run() {
  // Before anything can begin a recording: its row would look like an orphan.
  auto recovery = services_.audioManager.recoveryManager().recoverOrphanedRecordings();
  co_await std::move(recovery);
  auto configuring = services_.audioManager.configure();
  co_await std::move(configuring);
  services_.hotkeys.setupGlobalHotkeys();
  if (services_.shortcuts != nullptr) services_.shortcuts->start();
  services_.settings.storage().ensureAppFolder();
  services_.settings.storage().ensureRecordingsFolder();
  isReady_.set(true);
  if (services_.windows.onReady) services_.windows.onReady(services_.executor.now() - startTime_);
}

Task<void> ApplicationLaunch::bootstrapModels() {
  co_await throwIfCancelled();
  loadSavedMode(services_.settings, services_.persistence, services_.appState, logger_);
  // The mode that stands in the state from the beginning is no change of it.
  services_.modelPreparation.modeSelected(services_.appState.data().selectedModeId);
  didBootstrapModels_.set(true);
}

void ApplicationLaunch::wire() {
  services_.appState.setSettingsManager(&services_.settings);
  services_.appState.setPersistenceController(&services_.persistence);
  services_.appState.setNetworkStatus(&services_.network);
  // Selecting a mode begins to load its model.
  const auto tell = [this, last = services_.appState.data().selectedModeId](const AppStateData& data) mutable {
    if (std::exchange(last, data.selectedModeId) != data.selectedModeId)
      services_.modelPreparation.modeSelected(data.selectedModeId);
  };
  modeChanges_ = services_.appState.observe(tell);
}

void ApplicationLaunch::followSettings() {
  settingsChanges_ = services_.settings.observeChanges([this](const QString& key) {
    if (key == QLatin1String("blockAppleMusic")) blockMusic(services_.settings.general().blockAppleMusic());
    // Another process has selected a mode.
    if (key == QLatin1String("currentModeId") && !services_.settings.currentModeId().isEmpty() &&
        services_.settings.currentModeId() != services_.appState.data().selectedModeId)
      loadSavedMode(services_.settings, services_.persistence, services_.appState, logger_);
  });
}

void ApplicationLaunch::blockMusic(bool isBlocked) {
  if (services_.musicBlocker == nullptr) return;
  if (isBlocked)
    services_.musicBlocker->start();
  else
    services_.musicBlocker->stop();
}

void ApplicationLaunch::scheduleWindows() {
  if (!services_.appState.data().hasCompletedOnboarding) {
    after(onboardingDelay, [this] {
      services_.appState.update([](AppStateData& data) { data.showOnboarding = true; });
      if (services_.windows.onShowOnboarding) services_.windows.onShowOnboarding();
    });
    return;
  }
  if (services_.settings.general().launchMinimized() && services_.windows.onOrderOutWindow)
    after(orderOutDelay, services_.windows.onOrderOutWindow);
}

void ApplicationLaunch::after(Duration delay, std::function<void()> action) {
  timers_.push_back(services_.executor.startTimer(delay, std::move(action)));
}

}  // namespace quillmere
