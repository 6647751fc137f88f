#pragma once
#include <QDateTime>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

#include "audio/AudioFileConverter.h"
#include "base/Clock.h"
#include "base/Published.h"
#include "base/Result.h"
#include "base/async/Completion.h"
#include "base/async/SerialGate.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "domain/Errors.h"
#include "ports/ErrorReporting.h"
#include "ports/MediaReader.h"
#include "recording/AudioDeviceManager.h"
#include "recording/AudioFileProperties.h"
#include "recording/AudioSessionManager.h"
#include "recording/ConversionRetryResult.h"
#include "recording/RecordingSessionManager.h"
#include "recording/RecordingStopResult.h"
#include "recording/SimpleRecorder.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "storage/StandardFolders.h"

namespace quillmere {

// Turns start and stop into a finished audio file: a WAV as it is up to 25 MiB, an M4A above that. Main thread.
// Starts and stops take turns; a start may begin while the file of the recording before is still being finished.
// A cancel never leaves a start or a stop half done: it goes to its end, and Cancelled is thrown then.
// Everything referred to outlives the lifecycle. Its death drops a running recording, whose file and row stay for the
// recovery at the next launch, and leaves muted what is muted: stop first.
class RecordingLifecycle {
 public:
  struct Dependencies {
    Executor& executor;
    const Clock& clock;
    SimpleRecorder& simpleRecorder;
    AudioFileConverter& audioFileConverter;
    MediaReaderFactory& mediaReaders;
    AudioDeviceManager& deviceManager;
    RecordingSessionManager& sessionManager;
    AudioSessionManager& audioSessionManager;
    PersistenceController& persistence;
    StandardFolders folders;
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
  // May be null: then the recordings go to the Documents folder and nothing is muted or raised.
  void setSettingsManager(SettingsManager* settings) { settingsManager_ = settings; }
  // The microphone or the sound server went away, or the disk is full. The recording counts as on until it is stopped;
  // its duration stands still.
  void setOnInterrupted(std::function<void(AudioRecorder::Interruption)> callback);

  // When it returns a value, the recorder runs. An older recording that still runs is finished first. After an error
  // media and volumes are as they were; the row of the attempt stays with the session manager for its deletion.
  Task<Result<void, AnyError>> startRecording();
  // Nothing when no recording was on. Every failure keeps the audio. What is below one second or minimumSizeBytes is
  // unwanted: its file is finished, but no recovery brings it back.
  Task<std::optional<RecordingStopResult>> stopRecording();
  // The storage conversion of a finished WAV. A failure or a cancel keeps the WAV and the row.
  Task<void> convertInBackground(QString path, TranscriptPtr transcript);

  static constexpr qint64 wavToM4AThresholdBytes = 26214400;
  static constexpr qint64 minimumSizeBytes = 5000;

 private:
  struct Environment;
  struct Capture;
  struct Finished;

  Task<Result<void, AnyError>> begin();
  Task<Result<void, AnyError>> prepareAndRecord(std::shared_ptr<Environment> environment);
  Task<std::optional<RecordingStopResult>> finish();
  Task<void> controlMedia(std::shared_ptr<Environment> environment, MediaControlMode mode);
  Task<void> increaseMicVolume(std::shared_ptr<Environment> environment);
  void beginUndo(std::shared_ptr<Environment> environment, SerialGate::Pass pass);
  Task<void> undo(std::shared_ptr<Environment> environment, SerialGate::Pass pass);
  Task<void> updateDuration();
  double elapsedSeconds() const;
  void interrupted(const AudioRecorder::Interruption& interruption);

  Task<Finished> finishFile(std::shared_ptr<Capture> capture);
  Task<Result<void, AnyError>> promote(std::shared_ptr<Capture> capture, Finished& finished);
  Task<bool> waitForRawFileReady(QString path);
  Result<AudioFileProperties, AnyError> validate(const QString& path) const;
  Task<Result<void, AnyError>> compress(std::shared_ptr<Capture> capture, qint64 sizeBytes, Finished& finished);
  Task<ConversionRetryResult> convertWithRetry(QString from, QString to);
  Task<Result<void, AnyError>> exportFallback(QString from, QString to);
  Result<QString, AnyError> moveToFinalWav(const Capture& capture) const;
  void reportFinalizationFailure(const Capture& capture, const Finished& finished, const AnyError& error);
  bool pointRowAt(const TranscriptPtr& transcript, const QString& path);
  QString recordingsFolder() const;
  void leaveBreadcrumb(const QString& message, ReportLevel level, const QVariantMap& data);

  Dependencies use_;
  Logger log_;
  SettingsManager* settingsManager_ = nullptr;
  Published<bool> isRecording_;
  Published<float> audioLevel_;
  Published<double> recordingDuration_;
  Published<std::optional<QString>> lastRecordingURL_;
  bool hasMicrophonePermission_ = false;
  std::optional<QDateTime> recordingStartTime_;
  std::function<void(AudioRecorder::Interruption)> onInterrupted_;
  std::shared_ptr<Capture> capture_;  // of the recording that runs
  SerialGate gate_;
  Subscription levelBinding_;
  TaskHandle<void> recordingTimer_;
  TaskScope scope_;
};

}  // namespace quillmere
