#pragma once
#include <chrono>
#include <optional>

#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "ports/ErrorReporting.h"
#include "storage/SettingsChannel.h"

namespace quillmere {

// Where data and recordings are kept. A recordings folder that can't be written to, as on a disk that isn't there, is
// replaced by the first of a few others until it can; the setting stays as the user made it. Constructing it makes the
// application folder.
class StorageSettingsManager final : public SettingsChannel {
 public:
  StorageSettingsManager(DefaultsStore& defaults, const StandardFolders& folders, const Logging& logging,
                         ErrorReporting* reporting);

  QString appFolderPath() const { return get<"appFolderPath">(); }
  bool setAppFolderPath(const QString& value) { return set<"appFolderPath">(value); }
  QString recordingsFolder() const { return get<"recordingsFolder">(); }
  bool setRecordingsFolder(const QString& value) { return set<"recordingsFolder">(value); }
  bool documentsPermissionExplained() const { return get<"documentsPermissionExplained">(); }
  bool setDocumentsPermissionExplained(bool value) { return set<"documentsPermissionExplained">(value); }
  bool documentsAccessDenied() const { return get<"documentsAccessDenied">(); }
  bool setDocumentsAccessDenied(bool value) { return set<"documentsAccessDenied">(value); }
  bool userChoseAlternateStorage() const { return get<"userChoseAlternateStorage">(); }
  bool setUserChoseAlternateStorage(bool value) { return set<"userChoseAlternateStorage">(value); }
  bool filesyncEnabled() const { return get<"filesyncEnabled">(); }
  bool setFilesyncEnabled(bool value) { return set<"filesyncEnabled">(value); }
  bool storeAsM4A() const { return get<"storeAsM4A">(); }
  bool setStoreAsM4A(bool value) { return set<"storeAsM4A">(value); }

  // Not persisted. A change of one of them is announced under its name.
  bool showDocumentsPermissionAlert() const { return showDocumentsPermissionAlert_; }
  std::optional<QString> validationError() const { return validationError_; }
  // In the place of the recordings folder, since the last ensureRecordingsFolder() or usableRecordingsFolder().
  std::optional<QString> recordingsStandIn() const { return standIn_; }
  // What is to be written now goes there: the stand-in, else the setting's folder.
  QString folderForRecordings() const { return standIn_.value_or(recordingsFolder()); }

  void ensureAppFolder();
  void ensureRecordingsFolder();
  // The same without a question to the user; gives folderForRecordings().
  QString usableRecordingsFolder();
  // Runs the check and waits, up to `timeout`, until a writable folder is there; false when the time ran out.
  // The manager must outlive the task.
  Task<bool> waitForRecordingsFolder(std::chrono::nanoseconds timeout);
  void changeRecordingsFolder(const QString& path);
  // The answers to the explanation; true when a folder is ready.
  bool confirmDocumentsAccess();
  bool declineDocumentsAccess();

 private:
  bool hasWritableRecordingsFolder() const;
  // The first folder of the ladder that can be written to.
  std::optional<QString> fallbackFolder();
  bool makeOrReplace();
  bool replaceForNow();
  void setStandIn(std::optional<QString> folder);
  void setShowDocumentsPermissionAlert(bool value);
  void setValidationError(std::optional<QString> value);
  void leaveBreadcrumb(const QString& message, const QVariantMap& data);
  bool isReportingOn() const;

  Logger log_;
  ErrorReporting* reporting_;
  bool showDocumentsPermissionAlert_ = false;
  std::optional<QString> validationError_;
  std::optional<QString> standIn_;
};

}  // namespace quillmere
