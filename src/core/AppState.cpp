#include "core/AppState.h"

#include <array>

#include "ports/DefaultsStore.h"
#include "providers/UserNotices.h"
#include "storage/SettingsManager.h"

namespace quillmere {
namespace {

const QString& navigationKey() {
  static const QString key = QStringLiteral("lastNavigationItem");
  return key;
}

}  // namespace

AppState::AppState(Executor& executor, DefaultsStore& defaults, SettingsManager* settings, UserNotices* notices,
                   const Logging& logging)
    : executor_(executor),
      defaults_(defaults),
      settings_(settings),
      notices_(notices),
      logger_(logging.logger(QStringLiteral("AppState"))),
      mainThread_(std::this_thread::get_id()) {
  recordingStateLog_ = observe([this](const AppStateData& data) {
    if (data.recordingState == loggedState_) return;
    loggedState_ = data.recordingState;
    if (loggedState_.is<RecordingState::Recording>()) logger_.info("Started recording");
    // The finished text is what the user said: it stays private.
    if (const auto* complete = std::get_if<RecordingState::Complete>(&loggedState_.kind))
      logger_.info("Completed with text: %s", complete->text);
    if (const auto* error = std::get_if<RecordingState::Error>(&loggedState_.kind))
      logger_.error("Error occurred: %{public}s", error->message);
  });
  if (const auto stored = fromRawValue<NavigationItem>(defaults_.value(navigationKey()).toString()))
    update([&](AppStateData& data) { data.selectedNavigationItem = *stored; });
}

void AppState::update(const std::function<void(AppStateData&)>& change) {
  change(latest_);
  data_.set(latest_);
}

Subscription AppState::observe(std::function<void(const AppStateData&)> observer) {
  return data_.observe(std::move(observer));
}

bool AppState::isCriticalMessage(const QString& message) {
  static constexpr std::array marks{"API key", "unauthorized", "invalid api key", "insufficient credits",
                                    "quota exceeded"};
  for (const char* mark : marks)
    if (message.contains(QLatin1String(mark), Qt::CaseInsensitive)) return true;
  return false;
}

bool AppState::isCriticalError(const TranscriptionError& error) {
  using E = TranscriptionError;
  return error.is<E::ApiKeyMissing>() || error.is<E::Unauthorized>() || error.is<E::InsufficientCredits>() ||
         error.is<E::QuotaExceeded>();
}

void AppState::showError(const QString& message) {
  if (std::this_thread::get_id() == mainThread_) {
    showErrorNow(message, isCriticalMessage(message));
    return;
  }
  executor_.post([this, message, alive = std::weak_ptr<bool>(isAlive_)] {
    if (!alive.expired()) showErrorNow(message, isCriticalMessage(message));
  });
}

void AppState::showErrorNow(const QString& message, bool isCritical) {
  recordError(message);
  if (notices_ != nullptr) notices_->showToast(message, isCritical);
}

void AppState::showNotice(const QString& message) {
  if (notices_ != nullptr) notices_->showToast(message, false);
}

void AppState::showTranscriptionError(const TranscriptionError& error) {
  showErrorNow(localizedDescription(error), isCriticalError(error));
}

void AppState::recordError(const QString& message) {
  update([&](AppStateData& data) {
    data.errorMessage = message;
    data.showErrorAlert = false;
  });
}

void AppState::selectMode(const Mode& mode, bool persist) {
  const QString id = mode.id ? mode.id->toString(QUuid::WithoutBraces) : QString();
  const QString name = mode.name.value_or(QStringLiteral("Default"));
  update([&](AppStateData& data) {
    data.selectedModeId = id;
    data.selectedModeName = name;
  });
  if (persist && settings_ != nullptr) {
    settings_->setCurrentModeId(id);
    settings_->setCurrentMode(name);
  }
  logger_.info("📝 Selected mode: %s (persist: %{bool}d)", name, persist);
}

void AppState::selectNavigationItem(NavigationItem item) {
  update([&](AppStateData& data) { data.selectedNavigationItem = item; });
  defaults_.setValue(navigationKey(), rawValue(item));
}

}  // namespace quillmere
