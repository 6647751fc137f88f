#pragma once
#include <map>
#include <vector>

#include "base/async/Await.h"
#include "ports/AudioDevices.h"

namespace quillmere {

// Inputs as the test lists them.
class FakeAudioDevices final : public AudioDevices {
 public:
  std::vector<AudioInputDescription> list;
  std::optional<QString> defaultUid;
  bool isServerThere = true;
  bool refusesVolume = false;
  Duration volumeTakes = Duration::zero();

  std::vector<std::pair<QString, float>> volumesSet;

  static AudioInputDescription microphone(quint32 id, const QString& uid, const QString& name,
                                          std::optional<float> volume = 0.5F) {
    AudioInputDescription input;
    input.numericId = id;
    input.uid = uid;
    input.name = name;
    input.transport = QStringLiteral("usb");
    input.channelCount = 1;
    input.sampleRate = 48000;
    input.bitDepth = 16;
    input.volume = volume;
    return input;
  }

  bool isConnected() const override { return isServerThere; }
  std::vector<AudioInputDescription> inputs() const override { return list; }
  std::optional<QString> defaultInputUid() const override { return defaultUid; }
  Task<bool> waitUntilReady() override { co_return isServerThere; }
  void preferInput(std::optional<QString> uid) override { preferred_ = std::move(uid); }
  std::optional<QString> captureInputUid() const override { return find(preferred_) ? preferred_ : defaultUid; }
  Task<bool> setInputVolume(QString uid, float scalar) override {
    if (volumeTakes > Duration::zero()) co_await sleepFor(volumeTakes);
    volumesSet.emplace_back(uid, scalar);
    auto* const input = const_cast<AudioInputDescription*>(find(uid));
    if (refusesVolume || !input) co_return false;
    input->volume = scalar;
    co_return true;
  }
  Subscription observe(std::function<void(Change)> observer) override {
    const int id = ++lastId_;
    observers_->emplace(id, std::move(observer));
    return Subscription([observers = observers_, id] { observers->erase(id); });
  }

  void tell(Change change) {
    const auto observers = *observers_;
    for (const auto& [id, observer] : observers) observer(change);
  }
  // The device goes, and comes back as it was left.
  AudioInputDescription unplug(const QString& uid) {
    const AudioInputDescription gone = *find(uid);
    std::erase(list, gone);
    if (defaultUid == uid) defaultUid = list.empty() ? std::nullopt : std::optional(list.front().uid);
    tell(Change::deviceList);
    return gone;
  }
  void plugIn(const AudioInputDescription& input) {
    list.push_back(input);
    tell(Change::deviceList);
  }
  size_t observerCount() const { return observers_->size(); }

 private:
  const AudioInputDescription* find(const std::optional<QString>& uid) const {
    for (const auto& input : list)
      if (input.uid == uid) return &input;
    return nullptr;
  }

  std::optional<QString> preferred_;
  std::shared_ptr<std::map<int, std::function<void(Change)>>> observers_ =
      std::make_shared<std::map<int, std::function<void(Change)>>>();
  int lastId_ = 0;
};

}  // namespace quillmere
