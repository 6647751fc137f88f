#pragma once
#include <QString>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "base/Published.h"
#include "base/async/Executor.h"
#include "base/log/Logger.h"
#include "core/AppStateData.h"
#include "domain/Entities.h"
#include "domain/Errors.h"

namespace quillmere {

class DefaultsStore;
class NetworkStatus;
class PersistenceController;
class SettingsManager;
class UserNotices;

// The one observable state of the application. Made and used on the main thread, showError() apart. Observers see every
// value in order; a change made while they are being told follows the one under way.
class AppState {
 public:
  // `settings` and `notices` may be null. All arguments outlive this object.
  AppState(Executor& executor, DefaultsStore& defaults, SettingsManager* settings, UserNotices* notices,
           const Logging& logging);
  ~AppState();

  // What is made later, or not at all. Each may be null and has to be taken away before it goes.
  void setSettingsManager(SettingsManager* settings) { settings_ = settings; }
  void setPersistenceController(PersistenceController* persistence) { persistence_ = persistence; }
  void setNetworkStatus(const NetworkStatus* network) { network_ = network; }
  // Shows the name of the mode that cycleToNextMode() chose.
  void setModeChangeToast(std::function<void(const QString& modeName)> show) { showModeChangeToast_ = std::move(show); }

  const AppStateData& data() const { return data_.get(); }
  void update(const std::function<void(AppStateData&)>& change);
  [[nodiscard]] Subscription observe(std::function<void(const AppStateData&)> observer);

  // Any thread. Critical where the message speaks of a key, an account or a quota.
  void showError(const QString& message);
  void showNotice(const QString& message);
  void showTranscriptionError(const TranscriptionError& error);
  // Keeps the message without showing it.
  void recordError(const QString& message);

  void selectMode(const Mode& mode, bool persist);
  // The mode of the last run: selected without a word and without storing it again.
  void restoreMode(const Mode& mode);
  // The mode behind the selected one among those that work now. False when there is none.
  bool cycleToNextMode();
  // In the store's order; without those that need the network while there is none.
  std::vector<ModePtr> availableModes() const;
  void switchToLocalDefault();
  void selectNavigationItem(NavigationItem item);
  void setHasCompletedOnboarding(bool value);

  // The texts of the alert that names missing keys.
  QString apiKeyAlertTitle() const;
  QString apiKeyAlertMessage() const;

  static bool isCriticalMessage(const QString& message);
  static bool isCriticalError(const TranscriptionError& error);

 private:
  void showErrorNow(const QString& message, bool isCritical);
  void logRecordingState(const RecordingState& state);
  void searchQueryChanged(const QString& query);

  Executor& executor_;
  DefaultsStore& defaults_;
  SettingsManager* settings_;
  UserNotices* notices_;
  Logger logger_;
  std::thread::id mainThread_;
  std::shared_ptr<bool> isAlive_ = std::make_shared<bool>(true);
  AppStateData latest_;  // with the changes that observers haven't been told of yet
  Published<AppStateData> data_;
  PersistenceController* persistence_ = nullptr;
  const NetworkStatus* network_ = nullptr;
  std::function<void(const QString&)> showModeChangeToast_;
  RecordingState loggedState_;
  QString searchQuery_;
  Executor::TimerId searchTimer_ = 0;
  std::vector<Subscription> subscriptions_;
};

}  // namespace quillmere
