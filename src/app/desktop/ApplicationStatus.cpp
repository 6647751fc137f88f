#include "app/desktop/ApplicationStatus.h"

#include <QJsonDocument>
#include <QJsonObject>

#include "app/compose/session/DictationParts.h"
#include "core/AppState.h"
#include "core/DictationTimings.h"

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
    case PasteOutcome::targetGone:
      return "targetGone";
    case PasteOutcome::typedElsewhere:
      return "typedElsewhere";
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

// In milliseconds; what has no value is left out.
QJsonObject timingsObject(const std::optional<DictationTimings>& timings) {
  QJsonObject object;
  if (!timings) return object;
  const auto add = [&object](const char* name, const std::optional<Duration>& value) {
    if (value) object.insert(QString::fromLatin1(name), std::chrono::duration<double, std::milli>(*value).count());
  };
  add("triggerToRecorderRunning", timings->triggerToRecorderRunning);
  add("triggerToFirstSample", timings->triggerToFirstSample);
  add("stopToFileReady", timings->stopToFileReady);
  add("trimming", timings->trimming);
  add("stopToDecoding", timings->stopToDecoding);
  add("decoding", timings->decoding);
  add("postProcessing", timings->postProcessing);
  add("decodedToPasted", timings->decodedToPasted);
  add("stopToText", timings->stopToText);
  return object;
}

}  // namespace

QString applicationStatus(const AppState& state, DictationParts& parts, const QString& lastNotice) {
  const AppStateData& data = state.data();
  const QJsonObject status{{"state", data.recordingState.diagnosticLabel()},
                           {"seconds", parts.flow->liveRecordingDuration()},
                           {"mode", data.selectedModeName},
                           {"microphone", parts.devices->activeInputDeviceName().get()},
                           {"asksWhetherToCancel", data.showCancelConfirmation},
                           {"error", data.errorMessage.value_or(QString())},
                           {"notice", lastNotice},
                           {"text", data.lastTranscription},
                           {"paste", word(data.lastPaste)},
                           {"onClipboard", parts.waitingText->isOnClipboard()},
                           {"timings", timingsObject(parts.flow->lastTimings().get())}};
  return QString::fromUtf8(QJsonDocument(status).toJson(QJsonDocument::Compact));
}

}  // namespace quillmere
