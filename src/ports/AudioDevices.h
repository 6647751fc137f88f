#pragma once
#include <QString>
#include <functional>
#include <optional>
#include <vector>

#include "base/Subscription.h"
#include "base/async/Task.h"

namespace quillmere {

// One input as the sound server names it now. `numericId` changes with every attachment, `uid` does not.
struct AudioInputDescription {
  quint32 numericId = 0;
  QString uid;
  QString name;
  QString transport;  // "built_in", "usb", "bluetooth", "virtual", "pci", "hdmi" or "unknown"
  int channelCount = 0;
  double sampleRate = 0;  // hertz
  int bitDepth = 0;
  bool isFloat = false;
  bool isMonitor = false;       // listens to an output: never a microphone
  std::optional<float> volume;  // 1 is 100 %, more where the user amplifies; none without a volume of its own
  bool isMuted = false;
  bool operator==(const AudioInputDescription&) const = default;
};

// The sound server's inputs. Main thread. The lists are those of the last event of the server, so reading costs
// nothing; without a server they are empty.
class AudioDevices {
 public:
  enum class Change { deviceList, defaultInput };
  virtual ~AudioDevices() = default;
  virtual bool isConnected() const = 0;
  virtual std::vector<AudioInputDescription> inputs() const = 0;
  virtual std::optional<QString> defaultInputUid() const = 0;
  // Which input the recordings of this program take while it is there; nothing: the default one. What other programs
  // use is not changed.
  virtual void preferInput(std::optional<QString> uid) = 0;
  // What a recording takes now: the preferred input, else the default one.
  virtual std::optional<QString> captureInputUid() const = 0;
  // Completes when the first list has arrived or the server can't be reached (then false), within 2 s.
  virtual Task<bool> waitUntilReady() = 0;
  // False when the server refused or doesn't know the device. Within 1 s.
  virtual Task<bool> setInputVolume(QString uid, float scalar) = 0;
  [[nodiscard]] virtual Subscription observe(std::function<void(Change)> observer) = 0;
};

}  // namespace quillmere
