#pragma once
#include <QString>
#include <atomic>
#include <limits>
#include <optional>
#include <span>
#include <vector>

#include "base/Result.h"
#include "domain/Errors.h"

namespace quillmere {

struct VoiceActivityParameters {
  float threshold = 0.5f;            // probability from which a window counts as speech
  qint32 minSpeechDurationMs = 250;  // shorter speech is dropped
  qint32 minSilenceDurationMs = 100;
  float maxSpeechDurationS = std::numeric_limits<float>::max();
  qint32 speechPadMs = 30;
  float samplesOverlap = 0.1f;  // seconds
  bool operator==(const VoiceActivityParameters&) const = default;
};

// One stretch of speech, in hundredths of a second from the start of the samples.
struct VoiceActivitySegment {
  float t0 = 0;
  float t1 = 0;
};

// The network that tells speech from silence. One thread at a time, any thread; the model stays loaded until the object
// goes.
class VoiceActivityModel {
 public:
  virtual ~VoiceActivityModel() = default;
  // The file is checked before the library sees it: any but the expected one gives an error.
  virtual Result<void, PlatformError> load(const QString& path) = 0;
  virtual bool isLoaded() const = 0;
  // Mono samples at 16 kHz. Nothing when the analysis failed, the model isn't loaded, or `stop` became true, which ends
  // a call within milliseconds.
  virtual std::optional<std::vector<VoiceActivitySegment>> segments(std::span<const float> samples16kHz,
                                                                    const VoiceActivityParameters& parameters,
                                                                    const std::atomic<bool>& stop) = 0;
};

}  // namespace quillmere
