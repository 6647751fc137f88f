#include "app/session/ApplicationStatus.h"

#include <QJsonDocument>
#include <QJsonObject>

#include "core/AppState.h"
#include "core/AudioRecordingManager.h"
#include "delivery/AutoPasteHandler.h"

namespace quillmere {
namespace {

const char* word(PasteOutcome outcome) {
  switch (outcome) {
    case PasteOutcome::none:
      return "none";
    case PasteOutcome::pasted:
      return "pasted";
    case PasteOutcome::notFetched:
      return "notFetched";
    case PasteOutcome::noTarget:
      return "noTarget";
    case PasteOutcome::secureField:
      return "secureField";
    case PasteOutcome::noPermission:
      return "noPermission";
    case PasteOutcome::cancelled:
      return "cancelled";
    case PasteOutcome::failed:
      return "failed";
  }
  return "";
}

}  // namespace

QString applicationStatus(const AppState& state, AudioRecordingManager& recording, const QString& lastNotice) {
  const AppStateData& data = state.data();
  const QJsonObject status{{"state", data.recordingState.diagnosticLabel()},
                           {"seconds", recording.liveRecordingDuration()},
                           {"mode", data.selectedModeName},
                           {"microphone", recording.activeInputDeviceName().get()},
                           {"asksWhetherToCancel", data.showCancelConfirmation},
                           {"error", data.errorMessage.value_or(QString())},
                           {"notice", lastNotice},
                           {"text", data.lastTranscription},
                           {"paste", word(recording.autoPasteHandler().lastOutcome().get())}};
  return QString::fromUtf8(QJsonDocument(status).toJson(QJsonDocument::Compact));
}

}  // namespace quillmere
