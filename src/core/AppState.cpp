#include "core/AppState.h"

#include <algorithm>
#include <type_traits>
#include <utility>

#include "base/text/LocalizedText.h"
#include "domain/ModeTypes.h"
#include "ports/DefaultsStore.h"
#include "ports/NetworkStatus.h"
#include "providers/UserNotices.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"

namespace quillmere {
namespace {

const QString& navigationKey() {
  static const QString key = QStringLiteral("lastNavigationItem");
  return key;
}

const QString& onboardingKey() {
  static const QString key = QStringLiteral("hasCompletedOnboarding");
  return key;
}

constexpr Duration searchQuietTime = std::chrono::milliseconds(300);

QString nameOf(const Mode& mode) {
  return mode.name.value_or(QStringLiteral("Default"));
}

bool needsNetwork(const Mode& mode) {
  return mode.model.value_or(QString()).toLower() == QLatin1String("cloud") ||
         mode.postProcessingMode == static_cast<qint16>(PostProcessingMode::cloud);
}

bool isOnlyOffline(const std::vector<MissingAPIKey>& missing) {
  return missing.size() == 1 && std::holds_alternative<MissingAPIKey::Offline>(missing.front().context);
}

QString providerName(const MissingAPIKey& missing) {
  if (const auto* speech = std::get_if<MissingAPIKey::Transcription>(&missing.context))
    return displayName(speech->provider);
  if (const auto* rewriting = std::get_if<MissingAPIKey::PostProcessing>(&missing.context))
    return displayName(rewriting->provider);
  return QStringLiteral("Offline");
}

// One line a provider, in the order of their first mention, with what the key is needed for.
QStringList providerLines(const std::vector<MissingAPIKey>& missing) {
  const auto isNeededFor = [&]<typename Context>(const QString& name, std::type_identity<Context>) {
    return std::any_of(missing.begin(), missing.end(), [&](const MissingAPIKey& entry) {
      return std::holds_alternative<Context>(entry.context) && providerName(entry) == name;
    });
  };
  QStringList names;
  QStringList lines;
  for (const MissingAPIKey& entry : missing) {
    const QString name = providerName(entry);
    if (names.contains(name)) continue;
    names << name;
    const bool speech = isNeededFor(name, std::type_identity<MissingAPIKey::Transcription>());
    const bool rewriting = isNeededFor(name, std::type_identity<MissingAPIKey::PostProcessing>());
    const char* key = speech && rewriting ? "alerts.api.configure.line.both"
                      : speech            ? "alerts.api.configure.line.transcription"
                      : rewriting         ? "alerts.api.configure.line.postProcessing"
                                          : "alerts.api.configure.line.plain";
    lines << localizedText(key, name);
  }
  return lines;
}

}  // namespace

AppState::AppState(Dependencies dependencies, const Logging& logging)
    : use_(std::move(dependencies)), logger_(logging.logger(QStringLiteral("AppState"))) {
  latest_.hasCompletedOnboarding = flagSetting(use_.defaults, onboardingKey());
  data_.set(latest_);
  subscriptions_.push_back(observe([this](const AppStateData& data) { logRecordingState(data.recordingState); }));
  subscriptions_.push_back(observe([this](const AppStateData& data) { searchQueryChanged(data.historySearchQuery); }));
  if (const auto stored = fromRawValue<NavigationItem>(use_.defaults.value(navigationKey()).toString()))
    update([&](AppStateData& data) { data.selectedNavigationItem = *stored; });
}

AppState::~AppState() {
  use_.executor.cancelTimer(searchTimer_);
}

void AppState::logRecordingState(const RecordingState& state) {
  if (state == loggedState_) return;
  loggedState_ = state;
  if (state.is<RecordingState::Recording>()) logger_.info("Started recording");
  // The finished text is what the user said: it stays private.
  if (const auto* complete = std::get_if<RecordingState::Complete>(&state.kind))
    logger_.info("Completed with text: %s", complete->text);
  if (const auto* error = std::get_if<RecordingState::Error>(&state.kind))
    logger_.error("Error occurred: %{public}s", error->message);
}

void AppState::searchQueryChanged(const QString& query) {
  if (query == searchQuery_) return;
  searchQuery_ = query;
  use_.executor.cancelTimer(searchTimer_);
  // Words that are looked for were said once: they stay private too.
  searchTimer_ =
      use_.executor.startTimer(searchQuietTime, [this] { logger_.info("Searching history for: %s", searchQuery_); });
}

void AppState::update(const std::function<void(AppStateData&)>& change) {
  assertCurrent(use_.executor);
  change(latest_);
  data_.set(latest_);
}

Subscription AppState::observe(std::function<void(const AppStateData&)> observer) {
  return data_.observe(std::move(observer));
}

void AppState::showError(const QString& message, bool isCritical) {
  if (use_.executor.isCurrent()) {
    showErrorNow(message, isCritical);
    return;
  }
  lifetime_.post(use_.executor, [this, message, isCritical] { showErrorNow(message, isCritical); });
}

void AppState::showErrorNow(const QString& message, bool isCritical) {
  recordError(message);
  use_.notices.showToast(message, isCritical);
}

void AppState::showNotice(const QString& message) {
  use_.notices.showToast(message, false);
}

void AppState::showTranscriptionError(const TranscriptionError& error) {
  showErrorNow(localizedDescription(error), isCritical(AnyError(error)));
}

void AppState::recordError(const QString& message) {
  update([&](AppStateData& data) {
    data.errorMessage = message;
    data.showErrorAlert = false;
  });
}

void AppState::restoreMode(const Mode& mode) {
  const QString id = mode.id ? mode.id->toString(QUuid::WithoutBraces) : QString();
  update([&](AppStateData& data) {
    data.selectedModeId = id;
    data.selectedModeName = nameOf(mode);
  });
}

void AppState::selectMode(const Mode& mode, bool persist) {
  restoreMode(mode);
  if (persist) {
    use_.settings.setCurrentModeId(latest_.selectedModeId);
    use_.settings.setCurrentMode(latest_.selectedModeName);
  }
  logger_.info("📝 Selected mode: %s (persist: %{bool}d)", nameOf(mode), persist);
}

bool AppState::cycleToNextMode() {
  const std::vector<ModePtr> modes = availableModes();
  if (modes.empty()) {
    logger_.info("No available modes to cycle through in current network state");
    return false;
  }
  const QUuid selected = QUuid::fromString(latest_.selectedModeId);
  const auto here = std::find_if(modes.begin(), modes.end(), [&](const ModePtr& mode) { return mode->id == selected; });
  const auto next = here == modes.end() || std::next(here) == modes.end() ? modes.begin() : std::next(here);
  selectMode(**next, true);
  logger_.info("🔄 Cycled to mode: %s", nameOf(**next));
  if (use_.showModeChange) use_.showModeChange(nameOf(**next));
  return true;
}

std::vector<ModePtr> AppState::availableModes() const {
  std::vector<ModePtr> modes = use_.persistence.fetchAllModes();
  if (!use_.network.isOnline()) std::erase_if(modes, [](const ModePtr& mode) { return needsNetwork(*mode); });
  return modes;
}

void AppState::switchToLocalDefault() {
  const ModePtr mode = use_.persistence.fetchMode(QString::fromLatin1(localDefaultModeId));
  if (!mode) {
    logger_.warning("Local default mode not found");
    return;
  }
  selectMode(*mode, true);
  update([](AppStateData& data) { data.showLocalModeSuggestion = false; });
  logger_.info("Switched to local default mode");
}

QString AppState::apiKeyAlertTitle() const {
  const std::vector<MissingAPIKey>& missing = latest_.missingAPIKeys;
  if (missing.size() > 1) return localizedText("api.keys.required");
  return isOnlyOffline(missing) ? localizedText("api.key.internet.required") : localizedText("api.key.required");
}

QString AppState::apiKeyAlertMessage() const {
  const std::vector<MissingAPIKey>& missing = latest_.missingAPIKeys;
  if (missing.empty()) return localizedText("alerts.api.configure.generic");
  if (isOnlyOffline(missing)) return localizedText("alerts.api.internet.offline");
  QStringList lines{missing.size() == 1 ? localizedText("alerts.api.configure.header.single")
                                        : localizedText("alerts.api.configure.header.plural"),
                    QString()};
  lines += providerLines(missing);
  lines << localizedText("alerts.api.configure.footer");
  return lines.join(QLatin1Char('\n'));
}

void AppState::selectNavigationItem(NavigationItem item) {
  update([&](AppStateData& data) { data.selectedNavigationItem = item; });
  use_.defaults.setValue(navigationKey(), rawValue(item));
}

void AppState::setHasCompletedOnboarding(bool value) {
  update([&](AppStateData& data) { data.hasCompletedOnboarding = value; });
  use_.defaults.setValue(onboardingKey(), value);
}

}  // namespace quillmere
