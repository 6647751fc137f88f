#pragma once
#include <QDateTime>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

#include "base/Clock.h"
#include "base/Published.h"
#include "base/Result.h"
#include "base/async/SerialGate.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "domain/Errors.h"
#include "ports/ErrorReporting.h"
#include "recording/AudioDeviceManager.h"
#include "recording/RecordingEnvironment.h"
#include "recording/RecordingFinisher.h"
#include "recording/RecordingSessionManager.h"
#include "recording/RecordingStopResult.h"
#include "recording/SimpleRecorder.h"
#include "storage/SettingsManager.h"

namespace quillmere {

struct StartedRecording {
  RecordingSessionPtr session;  // its row in the store
};

enum class StopIntent {
  keep,
  discard  // nobody wants it: no recovery brings it back; the file is kept for who gets the result
};

// Starts and stops recordings, one at a time. Main thread. Starts and stops take turns; a start may begin while the
// file of the recording before is still being finished. Everything referred to outlives the lifecycle. Its death drops
// a running recording, whose file and row stay for the recovery at the next launch: stop first.
class RecordingLifecycle {
 public:
  struct Dependencies {
    Executor& executor;
    const Clock& clock;
    SimpleRecorder& simpleRecorder;
    AudioDeviceManager& deviceManager;
    RecordingSessionManager& sessionManager;
    RecordingEnvironment& environment;
    RecordingFinisher& finisher;
    SettingsManager& settings;
    ErrorReporting* reporting = nullptr;
  };

  RecordingLifecycle(Dependencies dependencies, const Logging& logging);
  ~RecordingLifecycle();

  Published<bool>& isRecording() { return isRecording_; }
  Published<float>& audioLevel() { return audioLevel_; }
  Published<double>& recordingDuration() { return recordingDuration_; }  // seconds, every 0.1 s
  Published<std::optional<QString>>& lastRecordingURL() { return lastRecordingURL_; }
  const std::optional<QDateTime>& recordingStartTime() const { return recordingStartTime_; }

  void setHasMicrophonePermission(bool value) { hasMicrophonePermission_ = value; }
  bool hasMicrophonePermission() const { return hasMicrophonePermission_; }
  // The microphone or the sound server went away, or the disk is full. The recording counts as on until it is stopped;
  // its duration stands still.
  void setOnInterrupted(std::function<void(AudioRecorder::Interruption)> callback);

  // When it returns a value, the recorder runs. An older recording that still runs is finished first and gets a row in
  // the history. After an error nothing is left of the attempt: no row, no file, media and volumes as they were. A
  // cancel undoes the attempt in the same way before Cancelled is thrown: no recording runs then.
  Task<Result<StartedRecording, AnyError>> startRecording();
  // Nothing when no recording was on. Every failure keeps the audio of what is not too short. `keepsLargeWav` as in
  // RecordingFinisher::RawRecording. A cancel waits for the end.
  Task<std::optional<RecordingStopResult>> stopRecording(StopIntent intent = StopIntent::keep,
                                                         bool keepsLargeWav = false);
  // The storage conversion of a finished WAV. A failure or a cancel keeps the WAV and the row.
  Task<void> convertInBackground(QString path, TranscriptPtr transcript);

 private:
  struct Capture;

  Task<SerialGate::Pass> enterWhenIdle();
  Task<Result<void, AnyError>> record(std::shared_ptr<Capture> capture);
  Task<void> undoStart(std::shared_ptr<Capture> capture, SerialGate::Pass pass, bool isCancelled);
  Task<std::optional<RecordingStopResult>> finish(StopIntent intent, bool keepsLargeWav);
  Task<void> finishOlder();
  void createRow(Capture& capture);
  Task<void> updateDuration();
  double elapsedSeconds(const Capture& capture) const;
  void interrupted(const AudioRecorder::Interruption& interruption);
  QString recordingsFolder() const;

  Dependencies use_;
  Logger log_;
  Published<bool> isRecording_;
  Published<float> audioLevel_;
  Published<double> recordingDuration_;
  Published<std::optional<QString>> lastRecordingURL_;
  bool hasMicrophonePermission_ = false;
  std::optional<QDateTime> recordingStartTime_;
  std::function<void(AudioRecorder::Interruption)> onInterrupted_;
  std::shared_ptr<Capture> capture_;  // that starts or runs
  SerialGate gate_;
  Subscription levelBinding_;
  TaskHandle<void> recordingTimer_;
  TaskScope scope_;
};

}  // namespace quillmere
