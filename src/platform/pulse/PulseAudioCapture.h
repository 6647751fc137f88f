#pragma once
#include "base/async/TaskScope.h"
#include "platform/pulse/PulseAudioDevices.h"
#include "platform/pulse/PulseStream.h"
#include "ports/AudioCapture.h"

namespace quillmere {

// One capture into memory. The samples are gathered on the library's thread and handed over in one piece a turn of the
// main thread. Threads and errors: see the port.
class PulseAudioCapture final : public AudioCapture {
 public:
  PulseAudioCapture(PulseConnection& connection, PulseAudioDevices& devices);
  ~PulseAudioCapture() override;

  Task<Result<void, PlatformError>> start(std::optional<QString> deviceUid) override;
  Task<Result<Samples16kHz, Interruption>> read() override;
  Task<void> stop() override;

 private:
  struct Samples;

  Task<int> open(QString source);
  Task<void> drain();
  Task<void> interrupt(PulseStream::End end);
  void closeStream();
  void over();

  PulseConnection& connection_;
  PulseAudioDevices& devices_;
  const std::shared_ptr<Samples> samples_;
  std::shared_ptr<PulseStream> stream_;
  bool isStarted_ = false;
  bool isRunning_ = false;
  std::optional<Interruption> interruption_;
  std::shared_ptr<int> alive_ = std::make_shared<int>();
  TaskScope scope_;
};

// Captures of one sound server. Outlives them.
class PulseAudioCaptureFactory final : public AudioCaptureFactory {
 public:
  PulseAudioCaptureFactory(PulseConnection& connection, PulseAudioDevices& devices)
      : connection_(connection), devices_(devices) {}
  std::unique_ptr<AudioCapture> create() override { return std::make_unique<PulseAudioCapture>(connection_, devices_); }

 private:
  PulseConnection& connection_;
  PulseAudioDevices& devices_;
};

}  // namespace quillmere
