#include "recording/MicrophonePermissionManager.h"

#include "base/text/LocalizedText.h"

namespace quillmere {

using Status = MicrophoneAuthorization::Status;

MicrophonePermissionManager::MicrophonePermissionManager(MicrophoneAuthorization& authorization,
                                                         ErrorReporting* reporting)
    : authorization_(authorization), reporting_(reporting) {}

QString MicrophonePermissionManager::permissionStatus() const {
  switch (authorization_.status()) {
    case Status::notDetermined:
      return QStringLiteral("not_determined");
    case Status::restricted:
      return QStringLiteral("restricted");
    case Status::denied:
      return QStringLiteral("denied");
    case Status::authorized:
      return QStringLiteral("authorized");
    case Status::unknown:
      break;
  }
  return QStringLiteral("unknown");
}

void MicrophonePermissionManager::refreshPermission() {
  const Status status = authorization_.status();
  hasMicrophonePermission_.set(status == Status::authorized);
  switch (status) {
    case Status::authorized:
    case Status::notDetermined:
      errorMessage_.set(QString());
      break;
    case Status::denied:
    case Status::restricted:
      errorMessage_.set(localizedText("audio.error.permissionDenied"));
      break;
    case Status::unknown:
      errorMessage_.set(localizedText("audio.error.unknown"));
      break;
  }
}

void MicrophonePermissionManager::refuse(bool showsAlert) {
  hasMicrophonePermission_.set(false);
  errorMessage_.set(localizedText("audio.error.permissionDenied"));
  if (showsAlert) showPermissionDeniedAlert_.set(true);
}

void MicrophonePermissionManager::leaveBreadcrumb(const QString& message, ReportLevel level, const QString& status) {
  if (reporting_ && reporting_->isEnabled())
    reporting_->addBreadcrumb(
        {message, QStringLiteral("audio.permission"), level, {{QStringLiteral("status"), status}}});
}

void MicrophonePermissionManager::grant() {
  hasMicrophonePermission_.set(true);
  errorMessage_.set(QString());
}

Task<bool> MicrophonePermissionManager::requestPermission() {
  // Whoever was refused may have been allowed since.
  if (authorization_.status() == Status::denied) co_await authorization_.requestAccess();
  switch (authorization_.status()) {
    case Status::denied:
    case Status::restricted:
      refuse(true);
      leaveBreadcrumb(QStringLiteral("Microphone permission denied or restricted"), ReportLevel::warning,
                      permissionStatus());
      co_return false;
    case Status::authorized:
      grant();
      leaveBreadcrumb(QStringLiteral("Microphone permission already authorized"), ReportLevel::info,
                      permissionStatus());
      co_return true;
    case Status::unknown:
      refuse(false);
      co_return false;
    case Status::notDetermined:
      break;
  }
  leaveBreadcrumb(QStringLiteral("Microphone permission prompt shown"), ReportLevel::info, permissionStatus());
  const bool isGranted = co_await authorization_.requestAccess();
  leaveBreadcrumb(QStringLiteral("Microphone permission prompt resolved"), ReportLevel::info,
                  isGranted ? QStringLiteral("authorized") : QStringLiteral("denied"));
  if (isGranted)
    grant();
  else
    refuse(true);
  co_return isGranted;
}

}  // namespace quillmere
