#pragma once
#include <mutex>

#include "base/async/TaskScope.h"
#include "platform/pulse/PreparedStream.h"
#include "platform/pulse/RecordingFile.h"
#include "ports/AudioRecorder.h"

namespace quillmere {

// One recording of the source that AudioDevices names. The stream ends with its source instead of moving to another;
// the samples go from the library's thread to the file's own, so that a slow disk holds up nothing. Threads and errors:
// see the port.
class PulseAudioRecorder final : public AudioRecorder {
 public:
  PulseAudioRecorder(PulseConnection& connection, PulseAudioDevices& devices, PreparedStream& prepared);
  ~PulseAudioRecorder() override;

  Task<Result<void, PlatformError>> record(QString path) override;
  Task<void> stop() override;
  bool isRecording() const override { return phase_ == Phase::running; }
  float averagePowerDecibels() override;
  double recordedSeconds() const override;
  std::optional<Duration> firstSampleLatency() const override;
  void setInterruptionObserver(std::function<void(Interruption)> observer) override;

 private:
  enum class Phase { idle, starting, running, ending, over };
  struct Meter;
  class StartGuard;

  void makeFile(const QString& path);
  Task<Result<void, PlatformError>> startCapture();
  Task<int> openStream(QString source);
  Task<int> startStream(std::shared_ptr<PulseStream> stream, std::optional<QString> source);
  Task<void> stopSteps();
  Task<void> interrupt(Interruption::Kind kind, QString reason);
  Task<void> completeFile();
  void interrupted(Interruption::Kind kind, QString reason);
  void abandon();
  void closeStream();
  void over();

  PulseConnection& connection_;
  PulseAudioDevices& devices_;
  PreparedStream& prepared_;
  Phase phase_ = Phase::idle;
  std::shared_ptr<Meter> meter_;
  std::shared_ptr<PulseStream> stream_;
  std::shared_ptr<RecordingFile> file_;
  Completion<Result<void, PlatformError>> opened_;
  Completion<> completed_;
  std::optional<Interruption> earlyInterruption_;
  std::vector<Completion<>> stopWaiters_;
  std::function<void(Interruption)> observer_;
  std::shared_ptr<int> alive_ = std::make_shared<int>();
  TaskScope scope_;
};

}  // namespace quillmere
