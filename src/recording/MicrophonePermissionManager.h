#pragma once
#include <QString>

#include "base/Published.h"
#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "ports/ErrorReporting.h"
#include "ports/MicrophoneAuthorization.h"

namespace quillmere {

// Whether the microphone may be used, and the text that says why not. Main thread.
class MicrophonePermissionManager {
 public:
  MicrophonePermissionManager(MicrophoneAuthorization& authorization, ErrorReporting* reporting);

  Published<bool>& hasMicrophonePermission() { return hasMicrophonePermission_; }
  Published<bool>& showPermissionDeniedAlert() { return showPermissionDeniedAlert_; }
  void setShowPermissionDeniedAlert(bool value) { showPermissionDeniedAlert_.set(value); }
  Published<QString>& errorMessage() { return errorMessage_; }

  // Looks without asking the user.
  void refreshPermission();
  // Asks where nobody was asked yet, and anew after a refusal. True: the microphone may be used. A cancel while the
  // question is up changes nothing.
  Task<bool> requestPermission();
  // "not_determined", "restricted", "denied", "authorized" or "unknown"
  QString permissionStatus() const;

 private:
  void grant();
  void refuse(bool showsAlert);
  void leaveBreadcrumb(const QString& message, ReportLevel level, const QString& status);

  MicrophoneAuthorization& authorization_;
  ErrorReporting* reporting_;
  Published<bool> hasMicrophonePermission_;
  Published<bool> showPermissionDeniedAlert_;
  Published<QString> errorMessage_;
};

}  // namespace quillmere
