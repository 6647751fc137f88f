#pragma once
#include <QString>
#include <functional>
#include <memory>
#include <optional>

#include "base/Published.h"
#include "base/Result.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "domain/Errors.h"
#include "ports/AudioRecorder.h"

namespace quillmere {

// One microphone recording at a time into a file, with a level for the eye. Main thread.
class SimpleRecorder {
 public:
  // What every recorder of the port writes.
  struct RecordSettings {
    QString formatId;
    double sampleRate;  // hertz
    int channelCount;
    int bitDepth;
    bool isFloat;
    bool isBigEndian;
    bool isNonInterleaved;
  };
  static const RecordSettings recordSettings;
  static constexpr float minDb = -60.0F;
  static constexpr float maxDb = 0.0F;

  SimpleRecorder(AudioRecorderFactory& recorders, Executor& executor, const Logging& logging);

  Published<float>& audioLevel() { return audioLevel_; }  // 0 to 1, every 33 ms
  Published<bool>& isRecording() { return isRecording_; }

  // Lets the next start begin sooner. Cheap.
  void prepare() { recorders_.prepare(); }
  // Returns when the capture runs. Fails with AudioError::recordingFailed in the platform's own words where it has any.
  // A recording that still runs is dropped (its file is complete up to there). A cancel ends the capture again.
  Task<Result<void, AnyError>> start(QString path);
  // Returns when the file is complete, which a cancel doesn't cut short.
  Task<void> stop();
  // The capture ended by itself: the file is complete up to there, and the level falls to zero. stop() is still due.
  void setOnInterrupted(std::function<void(AudioRecorder::Interruption)> callback);
  // Of the newest recording, also after its stop; nothing before the sample has come or where the recorder can't tell.
  std::optional<TimePoint> firstSampleAt() const;

  // 0 at minDb or below, 1 at maxDb or above, straight between.
  static float levelOf(float decibels);

 private:
  Task<void> updateMeter();
  void interrupted(const AudioRecorder* recorder, AudioRecorder::Interruption interruption);

  AudioRecorderFactory& recorders_;
  Executor& executor_;
  Logger log_;
  Published<float> audioLevel_;
  Published<bool> isRecording_;
  std::function<void(AudioRecorder::Interruption)> onInterrupted_;
  std::unique_ptr<AudioRecorder> recorder_;
  TimePoint recordCalledAt_;
  std::optional<TimePoint> firstSampleAt_;  // known when the recorder goes
  TaskHandle<void> meterUpdateTask_;
  TaskScope scope_;
};

}  // namespace quillmere
