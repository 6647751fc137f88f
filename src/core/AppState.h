#pragma once
#include <QString>
#include <functional>
#include <vector>

#include "base/Published.h"
#include "base/async/Executor.h"
#include "base/async/Lifetime.h"
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
  // All outlive the state.
  struct Dependencies {
    Executor& executor;
    DefaultsStore& defaults;
    SettingsManager& settings;
    PersistenceController& persistence;
    const NetworkStatus& network;
    UserNotices& notices;
    // Shows the name of the mode that cycleToNextMode() chose; may be empty.
    std::function<void(const QString& modeName)> showModeChange = {};
  };
  AppState(Dependencies dependencies, const Logging& logging);
  ~AppState();

  const AppStateData& data() const { return data_.get(); }
  void update(const std::function<void(AppStateData&)>& change);
  [[nodiscard]] Subscription observe(std::function<void(const AppStateData&)> observer);

  // Any thread. Critical: nothing works before the user has looked after it.
  void showError(const QString& message, bool isCritical = false);
  void showNotice(const QString& message);
  void showTranscriptionError(const TranscriptionError& error);
  // Keeps the message without showing it.
  void recordError(const QString& message);

  void selectMode(const Mode& mode, bool persist);
  // The mode of the last run: selected without a word and without storing it again.
  void restoreMode(const Mode& mode);
  // The mode after the selected one among those that work now. False when there is none.
  bool cycleToNextMode();
  // In the store's order; without those that need the network while there is none.
  std::vector<ModePtr> availableModes() const;
  void switchToLocalDefault();
  void selectNavigationItem(NavigationItem item);
  void setHasCompletedOnboarding(bool value);

  // The texts of the alert that names missing keys.
  QString apiKeyAlertTitle() const;
  QString apiKeyAlertMessage() const;

 private:
  void showErrorNow(const QString& message, bool isCritical);
  void logRecordingState(const RecordingState& state);
  void searchQueryChanged(const QString& query);

  Dependencies use_;
  Logger logger_;
  AppStateData latest_;  // with the changes that observers haven't been told of yet
  Published<AppStateData> data_;
  RecordingState loggedState_;
  QString searchQuery_;
  Executor::TimerId searchTimer_ = 0;
  std::vector<Subscription> subscriptions_;
  Lifetime lifetime_;
};

}  // namespace quillmere
