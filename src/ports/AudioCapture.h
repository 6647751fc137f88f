#pragma once
#include <QString>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "base/Result.h"
#include "base/async/Task.h"
#include "domain/Errors.h"

namespace quillmere {

// The samples of one microphone as they come: 16 kHz, one channel, 16-bit integers; no file. Main thread. Destroying it
// ends the capture. What is not read is kept (32 kB a second).
class AudioCapture {
 public:
  static constexpr int sampleRateHertz = 16000;
  // The capture ended without stop().
  struct Interruption {
    enum class Kind { deviceGone, serverGone };
    Kind kind = Kind::deviceGone;
    QString description;  // a clear sentence
  };
  using Samples16kHz = std::vector<std::int16_t>;

  virtual ~AudioCapture() = default;
  // Opens the input of that uid (see AudioDevices), else the default one; returns when it runs. Once. An error's domain
  // is "audio". The capture stays with its input and ends with it. A cancel ends the capture again.
  virtual Task<Result<void, PlatformError>> start(std::optional<QString> deviceUid = std::nullopt) = 0;
  // All that has come since the last read, at least one sample, about 20 ms at a time; nothing after stop() when all
  // was read. An interruption comes after the samples before it, as often as one asks. One read at a time. A cancel
  // loses nothing.
  virtual Task<Result<Samples16kHz, Interruption>> read() = 0;
  // Takes in what was captured up to now and ends. Harmless when nothing runs. Not cancelled.
  virtual Task<void> stop() = 0;
};

class AudioCaptureFactory {
 public:
  virtual ~AudioCaptureFactory() = default;
  virtual std::unique_ptr<AudioCapture> create() = 0;
};

}  // namespace quillmere
