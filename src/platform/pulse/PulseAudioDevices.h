#pragma once
#include "platform/pulse/PulseConnection.h"
#include "ports/AudioDevices.h"

namespace quillmere {

// The sources of the sound server. `uid` is the source's name, which a device keeps over re-attachments.
// Volume and mute are kept current but make no Change. A server that goes away empties the list without a Change; what
// differs when it is back is told then. Setting a volume keeps the balance of the channels.
class PulseAudioDevices final : public AudioDevices {
 public:
  explicit PulseAudioDevices(PulseConnection& connection);
  ~PulseAudioDevices() override;

  bool isConnected() const override;
  std::vector<AudioInputDescription> inputs() const override { return snapshot_.inputs; }
  // None where all that the server has is the monitor of an output.
  std::optional<QString> defaultInputUid() const override;
  void preferInput(std::optional<QString> uid) override;
  std::optional<QString> captureInputUid() const override;
  Task<bool> waitUntilReady() override;
  Task<bool> setInputVolume(QString uid, float scalar) override;
  [[nodiscard]] Subscription observe(std::function<void(Change)> observer) override;
  // Called when captureInputUid() may have changed: for every list that arrives, also one without a Change, and for
  // another preference.
  [[nodiscard]] Subscription observeCaptureInput(std::function<void()> observer);

 private:
  struct Snapshot {
    std::vector<AudioInputDescription> inputs;
    QString defaultSource;
  };
  struct Reading {
    Snapshot snapshot;
    int answers = 0;  // of the two: list and defaults
    bool hasFailed = false;
  };

  void stateChanged(PulseConnection::State state);
  void refresh();
  void arrived(Snapshot snapshot, bool isComplete);
  Task<void> nextSnapshot();

  PulseConnection& connection_;
  Snapshot snapshot_;
  Snapshot announced_;
  bool hasSnapshot_ = false;
  bool isReading_ = false;
  bool isStale_ = false;
  std::optional<QString> preferred_;
  std::vector<Completion<>> readers_;
  Observers<Change> observers_;
  Observers<> captureObservers_;
  std::shared_ptr<int> alive_ = std::make_shared<int>();
  Subscription stateSubscription_;
  Subscription serverSubscription_;
};

}  // namespace quillmere
