#pragma once
#include <QString>
#include <functional>
#include <thread>

#include "base/Published.h"
#include "base/async/Executor.h"
#include "base/log/Logger.h"
#include "core/AppStateData.h"
#include "domain/Entities.h"
#include "domain/Errors.h"

namespace quillmere {

class DefaultsStore;
class SettingsManager;
class UserNotices;

// The one observable state of the application. Made and used on the main thread, showError() apart. Observers see every
// value in order; a change made while they are being told follows the one under way.
class AppState {
 public:
  // `settings` and `notices` may be null. All arguments outlive this object.
  AppState(Executor& executor, DefaultsStore& defaults, SettingsManager* settings, UserNotices* notices,
           const Logging& logging);

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
  void selectNavigationItem(NavigationItem item);

  static bool isCriticalMessage(const QString& message);
  static bool isCriticalError(const TranscriptionError& error);

 private:
  void showErrorNow(const QString& message, bool isCritical);

  Executor& executor_;
  DefaultsStore& defaults_;
  SettingsManager* settings_;
  UserNotices* notices_;
  Logger logger_;
  std::thread::id mainThread_;
  std::shared_ptr<bool> isAlive_ = std::make_shared<bool>(true);
  AppStateData latest_;  // with the changes that observers haven't been told of yet
  Published<AppStateData> data_;
  RecordingState loggedState_;
  Subscription recordingStateLog_;
};

}  // namespace quillmere
