#include "storage/StorageSettingsManager.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "base/async/Await.h"

namespace quillmere {

namespace {

constexpr std::chrono::milliseconds pauseWhileAsking{200};
constexpr std::chrono::milliseconds pauseBetweenAttempts{300};

// Makes the folder with everything above it; the system's sentence where that fails.
std::optional<QString> makeFolder(const QString& path) {
  std::error_code error;
  const std::filesystem::path folder(QFile::encodeName(path).toStdString());
  std::filesystem::create_directories(folder, error);
  if (error) return QString::fromStdString(error.message());
  if (!QFileInfo(path).isDir()) return QString::fromLocal8Bit(std::strerror(ENOTDIR));
  return std::nullopt;
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

bool StorageSettingsManager::hasWritableRecordingsFolder() const {
  return isWritableFolder(recordingsFolder());
}

void StorageSettingsManager::ensureRecordingsFolder() {
  if (hasWritableRecordingsFolder()) return;
  if (userChoseAlternateStorage()) {
    runFallbackLadder();
    return;
  }
  const QString path = recordingsFolder();
  if (isInFolder(path, folders_.documents) && !documentsPermissionExplained() && !documentsAccessDenied()) {
    setShowDocumentsPermissionAlert(true);
    leaveBreadcrumb("Documents access explanation shown", {{"path", path}});
    return;
  }
  if (makeFolder(path)) runFallbackLadder();
}

bool StorageSettingsManager::confirmDocumentsAccess() {
  setDocumentsPermissionExplained(true);
  setShowDocumentsPermissionAlert(false);
  if (!makeFolder(recordingsFolder()) && hasWritableRecordingsFolder()) return true;
  setDocumentsAccessDenied(true);
  return runFallbackLadder();
}

bool StorageSettingsManager::declineDocumentsAccess() {
  setDocumentsPermissionExplained(true);
  setUserChoseAlternateStorage(true);
  setShowDocumentsPermissionAlert(false);
  return runFallbackLadder();
}

bool StorageSettingsManager::runFallbackLadder() {
  struct Step {
    QString folder;
    LogFormat<QString> line;
    const char* name;
  };
  const QString ownFolder = folders_.applicationSupport + "/Quillmere";
  const Step steps[] = {
      {ownFolder + "/recordings", "↩️ Using Application Support for recordings: %{public}s", "application_support"},
      {folders_.downloads + "/Quillmere Recordings", "↩️ Using Downloads for recordings: %{public}s", "downloads"},
      {folders_.temporary + "/Quillmere/recordings", "↩️ Using temporary directory for recordings: %{public}s",
       "temporary"}};
  for (const Step& step : steps) {
    if (makeFolder(step.folder) || !isWritableFolder(step.folder)) continue;
    setRecordingsFolder(step.folder);
    if (&step == steps) setAppFolderPath(ownFolder);
    log_.info(step.line, step.folder);
    leaveBreadcrumb("Storage fallback selected", {{"fallback", QString(step.name)}, {"path", step.folder}});
    return true;
  }
  return false;
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
      if (runFallbackLadder()) co_return true;
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
  setRecordingsFolder(path);
  setValidationError(std::nullopt);
  log_.info("✅ Recordings folder changed to: %{public}s", path);
  if (isReportingOn())
    reporting_->captureMessage("Recordings folder changed", "settings.storage", ReportLevel::info, {{"path", path}});
}

}  // namespace quillmere
