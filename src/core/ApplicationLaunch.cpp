#include "core/ApplicationLaunch.h"

#include "base/async/Await.h"
#include "core/AppState.h"
#include "core/AudioRecordingManager.h"
#include "core/GlobalHotkeys.h"
#include "core/SavedMode.h"
#include "core/ShortcutStore.h"
#include "recording/CrashRecoveryManager.h"
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
  followSettings();
  scope_.spawn(bootstrapModels());
  scheduleWindows();
  scope_.spawn(run());
}

Task<void> ApplicationLaunch::run() {
  co_await services_.audioManager.configure();
  services_.hotkeys.setupGlobalHotkeys();
  if (services_.shortcuts != nullptr) services_.shortcuts->start();
  services_.settings.storage().ensureAppFolder();
  services_.settings.storage().ensureRecordingsFolder();
  isReady_.set(true);
  if (services_.windows.onReady) services_.windows.onReady(services_.executor.now() - startTime_);
  scope_.spawn(recover());
}

// Beside the shortcuts, which don't wait for it: it knows a recording that runs from one that nobody finishes.
Task<void> ApplicationLaunch::recover() {
  co_await services_.recovery.recoverOrphanedRecordings();
}

// The model of the selected mode is loaded before anybody speaks, also where the mode is the one that stands there from
// the beginning.
Task<void> ApplicationLaunch::bootstrapModels() {
  co_await throwIfCancelled();
  loadSavedMode(services_.settings, services_.persistence, services_.appState, logger_);
  const auto prepare = [this](const AppStateData& data) { services_.models.modeSelected(data.selectedModeId); };
  prepare(services_.appState.data());
  selectedMode_ = services_.appState.observe(prepare);
  didBootstrapModels_.set(true);
}

void ApplicationLaunch::followSettings() {
  settingsChanges_ = services_.settings.observeChanges([this](const QString& key) {
    // Another process has selected a mode.
    if (key == QLatin1String("currentModeId") && !services_.settings.currentModeId().isEmpty() &&
        services_.settings.currentModeId() != services_.appState.data().selectedModeId)
      loadSavedMode(services_.settings, services_.persistence, services_.appState, logger_);
  });
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
