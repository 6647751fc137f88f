#pragma once
#include <vector>

#include "base/async/Await.h"
#include "ports/AudioDevices.h"
#include "support/FakeObservers.h"

namespace quillmere {

// Inputs as the test lists them, for as long as there is a server.
class FakeAudioDevices final : public AudioDevices {
 public:
  std::vector<AudioInputDescription> list;
  std::optional<QString> defaultUid;
  bool isServerThere = true;
  Duration volumeTakes = Duration::zero();

  static AudioInputDescription microphone(quint32 id, const QString& uid, const QString& name,
                                          std::optional<float> volume = 0.5F) {
    AudioInputDescription input;
    input.numericId = id;
    input.uid = uid;
    input.name = name;
    input.transport = "usb";
    input.channelCount = 1;
    input.sampleRate = 48000;
    input.bitDepth = 16;
    input.volume = volume;
    return input;
  }

  bool isConnected() const override { return isServerThere; }
  std::vector<AudioInputDescription> inputs() const override {
    return isServerThere ? list : std::vector<AudioInputDescription>();
  }
  std::optional<QString> defaultInputUid() const override { return isListed(defaultUid) ? defaultUid : std::nullopt; }
  Task<bool> waitUntilReady() override { co_return isServerThere; }
  void preferInput(std::optional<QString> uid) override { preferred_ = std::move(uid); }
  std::optional<QString> captureInputUid() const override {
    return isListed(preferred_) ? preferred_ : defaultInputUid();
  }
  Task<bool> setInputVolume(QString uid, float scalar) override {
    if (volumeTakes > Duration::zero()) co_await sleepFor(volumeTakes);
    auto* const input = const_cast<AudioInputDescription*>(find(uid));
    if (!isServerThere || !input) co_return false;
    input->volume = scalar;
    co_return true;
  }
  Subscription observe(std::function<void(Change)> observer) override { return observers_.add(std::move(observer)); }

  void tell(Change change) { observers_.tell(change); }
  // The device goes, and comes back as it was left.
  AudioInputDescription unplug(const QString& uid) {
    const AudioInputDescription gone = *find(uid);
    std::erase(list, gone);
    const bool wasDefault = defaultUid == uid;
    if (wasDefault) defaultUid = list.empty() ? std::nullopt : std::optional(list.front().uid);
    tell(Change::deviceList);
    if (wasDefault) tell(Change::defaultInput);
    return gone;
  }
  void plugIn(const AudioInputDescription& input) {
    list.push_back(input);
    tell(Change::deviceList);
  }

 private:
  bool isListed(const std::optional<QString>& uid) const { return isServerThere && find(uid); }
  const AudioInputDescription* find(const std::optional<QString>& uid) const {
    for (const auto& input : list)
      if (input.uid == uid) return &input;
    return nullptr;
  }

  std::optional<QString> preferred_;
  FakeObservers<Change> observers_;
};

}  // namespace quillmere
