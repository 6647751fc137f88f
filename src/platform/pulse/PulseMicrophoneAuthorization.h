#pragma once
#include "platform/pulse/PulseAudioDevices.h"
#include "ports/MicrophoneAuthorization.h"

namespace quillmere {

// Desktop sessions have no question to ask: a microphone may be used unless the sound server refused this process, as
// it does to a confined one. "denied" after a refusal, until the server lets us in; else "authorized".
class PulseMicrophoneAuthorization final : public MicrophoneAuthorization {
 public:
  PulseMicrophoneAuthorization(PulseConnection& connection, PulseAudioDevices& devices)
      : connection_(connection), devices_(devices) {}
  Status status() const override;
  // Tries again where access was denied. Within 3 s.
  Task<bool> requestAccess() override;

 private:
  PulseConnection& connection_;
  PulseAudioDevices& devices_;
};

}  // namespace quillmere
