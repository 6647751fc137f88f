#pragma once
#include <QString>
#include <QVariantMap>
#include <optional>
#include <vector>

#include "domain/Errors.h"
#include "domain/States.h"
#include "ports/AudioDevices.h"
#include "recording/AudioDevice.h"

namespace quillmere {

// What is known at the moment when a recording could not be started, as the report of that failure carries it.
struct RecordingStartSnapshot {
  std::optional<QString> attemptId;
  RecordingTriggerSource trigger = RecordingTriggerSource::unknown;
  QString permissionStatus;
  bool hasMicrophonePermission = false;
  bool recordingLifecycleHasPermission = false;
  std::optional<AudioDevice> selectedDevice;
  QString selectedDeviceTransportType;
  QString recordingsFolder;
  bool isStreamingShortcutTriggered = false;
  bool recordingLifecycleIsRecording = false;
  RecordingState recordingState;
  QString mediaControlMode;
  bool autoIncreaseMicVolume = false;
  std::optional<QString> systemDefaultDeviceUID;
  QString activeDeviceName;
  std::optional<QString> activeDeviceUID;
  QString activeDeviceTransportType;
  std::optional<AudioInputDescription> activeDevice;
  struct Input {
    QString name;
    QString transportType;
  };
  std::vector<Input> availableInputs;
  std::optional<AnyError> error;  // none: the start was cancelled

  // Looks at the recordings folder.
  QVariantMap data() const;
  // At which step it failed: "cancelled", "audio_error", "record_start_failed", "recorder_init_failed" or "unknown".
  static QString failureStage(const std::optional<AnyError>& error);
};

}  // namespace quillmere
