#pragma once
#include <QString>
#include <functional>
#include <memory>
#include <optional>

#include "base/Result.h"
#include "base/async/Executor.h"
#include "base/async/Task.h"
#include "domain/Errors.h"

namespace quillmere {

// One capture of AudioDevices::captureInputUid() into a WAV file: 16 kHz, one channel, 16-bit integers. The file's
// header is valid at every moment and what is older than 100 ms stands in the file, so that a killed process leaves a
// playable recording. Main thread. Destroying a running recorder ends the capture and completes the file.
class AudioRecorder {
 public:
  // The capture ended without stop(): the microphone or the sound server went away, or the disk is full. The file is
  // complete up to that point.
  struct Interruption {
    enum class Kind { deviceGone, serverGone, writeFailed };
    Kind kind = Kind::deviceGone;
    QString description;  // a clear sentence
  };

  virtual ~AudioRecorder() = default;
  // Creates the file and starts the capture; returns when the capture runs. Once. An error's domain is "audio" where
  // the sound server refused and "filesystem" where the file could not be made, its description a clear sentence.
  // A cancel ends the capture again and leaves no file.
  virtual Task<Result<void, PlatformError>> record(QString path) = 0;
  // Ends the capture, writes what is still under way and completes the file. Harmless when nothing runs. Not cancelled.
  virtual Task<void> stop() = 0;
  virtual bool isRecording() const = 0;
  // Mean level of what was captured since the last call (RMS), in decibels of full scale: 0 at most, -160 for silence
  // or where nothing came.
  virtual float averagePowerDecibels() = 0;
  // Length of what was captured so far.
  virtual double recordedSeconds() const = 0;
  // From the call of record() to the arrival of the first sample, where that is known.
  virtual std::optional<Duration> firstSampleLatency() const { return {}; }
  virtual void setInterruptionObserver(std::function<void(Interruption)> observer) = 0;
};

class AudioRecorderFactory {
 public:
  virtual ~AudioRecorderFactory() = default;
  // Prepares a capture ahead of time, so that record() of the next recorder gets its first sample sooner. Cheap to
  // repeat; does not open the microphone. Main thread.
  virtual void prepare() = 0;
  virtual std::unique_ptr<AudioRecorder> create() = 0;
};

}  // namespace quillmere
