#pragma once
#include "platform/pulse/PreparedStream.h"
#include "platform/pulse/PulseAudioDevices.h"
#include "platform/pulse/PulseAudioRecorder.h"

namespace quillmere {

// After the first prepare() a paused stream is kept ready for the next recording; it follows the source that recordings
// take and the server's restarts. Outlives its recorders.
class PulseAudioRecorderFactory final : public AudioRecorderFactory {
 public:
  PulseAudioRecorderFactory(PulseConnection& connection, PulseAudioDevices& devices)
      : connection_(connection), devices_(devices), prepared_(connection, devices) {}

  void prepare() override { prepared_.prepare(); }
  bool isPrepared() const { return prepared_.isReady(); }
  std::unique_ptr<AudioRecorder> create() override { return createRecorder(); }
  std::unique_ptr<PulseAudioRecorder> createRecorder() {
    return std::make_unique<PulseAudioRecorder>(connection_, devices_, prepared_);
  }

 private:
  PulseConnection& connection_;
  PulseAudioDevices& devices_;
  PreparedStream prepared_;
};

}  // namespace quillmere
