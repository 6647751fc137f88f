#include "storage/StorageSettingsManager.h"

#include <cerrno>
#include <cstring>

#include <QFileInfo>

#include "base/async/Await.h"
#include "storage/AbsentDisk.h"
#include "storage/PrivateFolder.h"

namespace quillmere {

namespace {

constexpr std::chrono::milliseconds pauseWhileAsking{200};
constexpr std::chrono::milliseconds pauseBetweenAttempts{300};

// Makes the folder with everything above it; the system's sentence where that fails.
std::optional<QString> makeFolder(const QString& path) {
  if (makePrivateFolder(path)) return std::nullopt;
  return QString::fromLocal8Bit(std::strerror(errno));
}

bool isWritableFolder(const QString& path) {
  const QFileInfo info(path);
  return info.isDir() && info.isWritable();
}

bool isInFolder(const QString& path, const QString& folder) {
  return !folder.isEmpty() && (path == folder || path.startsWith(folder + '/'));
}

}  // namespace

StorageSettingsManager::StorageSettingsManager(DefaultsStore& defaults, const StandardFolders& folders,
                                               const Logging& logging, ErrorReporting* reporting)
    : SettingsChannel(defaults, folders, SettingGroup::storage),
      log_(logging.logger("StorageSettings")),
      reporting_(reporting) {
  ensureAppFolder();
}

bool StorageSettingsManager::isReportingOn() const {
  return reporting_ && flagSetting(defaults_, "enableErrorLogging");
}

void StorageSettingsManager::leaveBreadcrumb(const QString& message, const QVariantMap& data) {
  if (isReportingOn()) reporting_->addBreadcrumb({message, "settings.storage", ReportLevel::info, data});
}

void StorageSettingsManager::setShowDocumentsPermissionAlert(bool value) {
  if (std::exchange(showDocumentsPermissionAlert_, value) != value) announce("showDocumentsPermissionAlert");
}

void StorageSettingsManager::setValidationError(std::optional<QString> value) {
  if (validationError_ == value) return;
  validationError_ = std::move(value);
  announce("validationError");
}

void StorageSettingsManager::ensureAppFolder() {
  const QString path = appFolderPath();
  if (QFileInfo::exists(path)) return;
  if (const auto error = makeFolder(path))
    log_.error("❌ Failed to create app folder: %{public}s", *error);
  else
    log_.info("✅ Created app folder at: %{public}s", path);
}

void StorageSettingsManager::setStandIn(std::optional<QString> folder) {
  if (standIn_ == folder) return;
  standIn_ = std::move(folder);
  announce("recordingsStandIn");
}

bool StorageSettingsManager::hasWritableRecordingsFolder() const {
  return isWritableFolder(folderForRecordings());
}

void StorageSettingsManager::ensureRecordingsFolder() {
  const QString path = recordingsFolder();
  const bool isAskedFirst = isInFolder(path, folders_.documents) && !documentsPermissionExplained() &&
                            !documentsAccessDenied() && !userChoseAlternateStorage();
  if (isWritableFolder(path) || !isAskedFirst) {
    makeOrReplace();
    return;
  }
  setStandIn(std::nullopt);
  setShowDocumentsPermissionAlert(true);
  leaveBreadcrumb("Documents access explanation shown", {{"path", path}});
}

QString StorageSettingsManager::usableRecordingsFolder() {
  makeOrReplace();
  return folderForRecordings();
}

bool StorageSettingsManager::confirmDocumentsAccess() {
  setDocumentsPermissionExplained(true);
  setShowDocumentsPermissionAlert(false);
  if (!makeFolder(recordingsFolder()) && isWritableFolder(recordingsFolder())) {
    setStandIn(std::nullopt);
    return true;
  }
  setDocumentsAccessDenied(true);
  return replaceForNow();
}

// The one case in which another folder is the user's own choice.
bool StorageSettingsManager::declineDocumentsAccess() {
  setDocumentsPermissionExplained(true);
  setUserChoseAlternateStorage(true);
  setShowDocumentsPermissionAlert(false);
  const std::optional<QString> folder = fallbackFolder();
  if (!folder) return false;
  setStandIn(std::nullopt);
  setRecordingsFolder(*folder);
  const QString ownFolder = folders_.applicationSupport + "/Quillmere";
  if (isInFolder(*folder, ownFolder)) setAppFolderPath(ownFolder);
  return true;
}

bool StorageSettingsManager::makeOrReplace() {
  const QString path = recordingsFolder();
  const auto isUsable = [&path] { return isWritableFolder(path); };
  const bool isDeclined = userChoseAlternateStorage() && isInFolder(path, folders_.documents);
  if (!isUsable() && !isDeclined && !isOnAbsentDisk(path)) (void)makeFolder(path);
  if (!isUsable()) return replaceForNow();
  setStandIn(std::nullopt);
  return true;
}

bool StorageSettingsManager::replaceForNow() {
  setStandIn(fallbackFolder());
  return standIn_.has_value();
}

std::optional<QString> StorageSettingsManager::fallbackFolder() {
  struct Step {
    QString folder;
    LogFormat<QString> line;
    const char* name;
  };
  const Step steps[] = {
      {folders_.applicationSupport + "/Quillmere/recordings", "↩️ Using Application Support for recordings: %{public}s",
       "application_support"},
      {folders_.downloads + "/Quillmere Recordings", "↩️ Using Downloads for recordings: %{public}s", "downloads"},
      {folders_.temporary + "/Quillmere/recordings", "↩️ Using temporary directory for recordings: %{public}s",
       "temporary"}};
  for (const Step& step : steps) {
    if (makeFolder(step.folder) || !isWritableFolder(step.folder)) continue;
    log_.info(step.line, step.folder);
    leaveBreadcrumb("Storage fallback selected", {{"fallback", QString(step.name)}, {"path", step.folder}});
    return step.folder;
  }
  return std::nullopt;
}

Task<bool> StorageSettingsManager::waitForRecordingsFolder(std::chrono::nanoseconds timeout) {
  ensureRecordingsFolder();
  Executor& executor = co_await currentExecutor();
  const TimePoint start = executor.now();
  while (executor.now() - start < timeout) {
    if (hasWritableRecordingsFolder()) co_return true;
    if (showDocumentsPermissionAlert_) {
      co_await sleepFor(pauseWhileAsking);
    } else {
      if (makeOrReplace()) co_return true;
      co_await sleepFor(pauseBetweenAttempts);
    }
  }
  co_return false;
}

void StorageSettingsManager::changeRecordingsFolder(const QString& path) {
  if (!QFileInfo::exists(path)) {
    if (const auto error = makeFolder(path)) {
      log_.error("❌ Failed to create recordings folder: %{public}s", *error);
      setValidationError("Failed to create folder: " + *error);
      if (isReportingOn()) {
        ReportOptions options;
        options.message = "Recordings folder creation failed";
        options.extra = {{"path", path}, {"errorDescription", *error}};
        reporting_->captureError(PlatformError{"filesystem", 0, *error}, options);
      }
      return;
    }
    log_.info("✅ Created recordings folder at: %{public}s", path);
  }
  if (!isWritableFolder(path)) {
    setValidationError("Cannot write to selected folder. Please check permissions.");
    if (isReportingOn())
      reporting_->captureMessage("Recordings folder not writable", "settings.storage", ReportLevel::warning,
                                 {{"path", path}});
    return;
  }
  setStandIn(std::nullopt);
  setRecordingsFolder(path);
  setValidationError(std::nullopt);
  log_.info("✅ Recordings folder changed to: %{public}s", path);
  if (isReportingOn())
    reporting_->captureMessage("Recordings folder changed", "settings.storage", ReportLevel::info, {{"path", path}});
}

}  // namespace quillmere
