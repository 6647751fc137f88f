#include "core/RecordingStartSnapshot.h"

#include <QFileInfo>
#include <QStorageInfo>
#include <QStringList>

namespace quillmere {
namespace {

constexpr std::size_t listedDevices = 20;

QString orNone(const std::optional<QString>& text) {
  return text.value_or(QStringLiteral("none"));
}

QString reasonOf(const AnyError& error) {
  const auto* audio = std::get_if<AudioError>(&error);
  return audio != nullptr && !audio->reason.isEmpty() ? audio->reason : QStringLiteral("none");
}

}  // namespace

QString RecordingStartSnapshot::failureStage(const std::optional<AnyError>& error) {
  if (!error) return QStringLiteral("cancelled");
  const auto* audio = std::get_if<AudioError>(&*error);
  if (audio == nullptr) return QStringLiteral("unknown");
  if (audio->kind != AudioError::Kind::recordingFailed) return QStringLiteral("audio_error");
  return audio->reason == QLatin1String("Failed to start recording") ? QStringLiteral("record_start_failed")
                                                                     : QStringLiteral("recorder_init_failed");
}

QVariantMap RecordingStartSnapshot::data() const {
  const QFileInfo folder(recordingsFolder);
  QStringList inputs;
  for (std::size_t i = 0; i < availableInputs.size() && i < listedDevices; ++i)
    inputs.append(QStringLiteral("%1 (%2)").arg(availableInputs[i].name, availableInputs[i].transportType));
  const AudioInputDescription active = activeDevice.value_or(AudioInputDescription{});
  return {
      {QStringLiteral("attemptId"), orNone(attemptId)},
      {QStringLiteral("recordingTriggerSource"), rawValue(trigger)},
      {QStringLiteral("permissionStatus"), permissionStatus},
      {QStringLiteral("hasMicrophonePermission"), hasMicrophonePermission},
      {QStringLiteral("recordingLifecycleHasPermission"), recordingLifecycleHasPermission},
      {QStringLiteral("selectedDeviceName"), selectedDevice ? selectedDevice->name : QStringLiteral("none")},
      {QStringLiteral("selectedDeviceUID"), selectedDevice ? selectedDevice->uid : QStringLiteral("none")},
      {QStringLiteral("selectedDeviceTransportType"), selectedDeviceTransportType},
      {QStringLiteral("recordingsFolder"), recordingsFolder},
      {QStringLiteral("recordingsFolderWritable"), folder.isWritable()},
      {QStringLiteral("recordingsFolderExists"), folder.exists()},
      {QStringLiteral("recordingsFolderIsDirectory"), folder.isDir()},
      {QStringLiteral("recordingsFolderFreeBytes"), QStorageInfo(recordingsFolder).bytesAvailable()},
      {QStringLiteral("isStreamingShortcutTriggered"), isStreamingShortcutTriggered},
      {QStringLiteral("recordingLifecycleIsRecording"), recordingLifecycleIsRecording},
      {QStringLiteral("recordingState"), recordingState.diagnosticLabel()},
      {QStringLiteral("mediaControlMode"), mediaControlMode},
      {QStringLiteral("autoIncreaseMicVolume"), autoIncreaseMicVolume},
      {QStringLiteral("systemDefaultDeviceUID"), orNone(systemDefaultDeviceUID)},
      {QStringLiteral("activeDeviceName"), activeDeviceName},
      {QStringLiteral("activeDeviceUID"), orNone(activeDeviceUID)},
      {QStringLiteral("activeDeviceIsDefault"),
       activeDeviceUID.has_value() && activeDeviceUID == systemDefaultDeviceUID},
      {QStringLiteral("activeDeviceTransportType"), activeDeviceTransportType},
      {QStringLiteral("inputSampleRateHz"), active.sampleRate},
      {QStringLiteral("inputChannelCount"), active.channelCount},
      {QStringLiteral("inputBitDepth"), active.bitDepth},
      {QStringLiteral("inputIsFloat"), active.isFloat},
      {QStringLiteral("availableInputDeviceCount"), qint64(availableInputs.size())},
      {QStringLiteral("availableInputDevices"), inputs},
      {QStringLiteral("recordingFailureStage"), failureStage(error)},
      {QStringLiteral("errorDomain"), error ? errorDomain(*error) : QStringLiteral("none")},
      {QStringLiteral("errorCode"), error ? errorCode(*error) : 0},
      {QStringLiteral("errorDescription"), error ? localizedDescription(*error) : QStringLiteral("none")},
      {QStringLiteral("errorFailureReason"), error ? reasonOf(*error) : QStringLiteral("none")},
  };
}

}  // namespace quillmere
