#include "interface/MicrophoneViewModel.h"

#include "base/text/LocalizedText.h"
#include "recording/AudioDeviceManager.h"
#include "storage/SettingsManager.h"

namespace quillmere {
namespace {

QVariantMap choice(const QString& value, const QString& text) {
  return {{QStringLiteral("value"), value}, {QStringLiteral("text"), text}};
}

}  // namespace

MicrophoneViewModel::MicrophoneViewModel(Services services, const Logging& logging) : services_(services) {
  if (services_.recorders && services_.executor) {
    probe_ = std::make_unique<MicrophoneProbe>(*services_.recorders, *services_.executor, logging);
    subscriptions_.push_back(probe_->level().observe([this](float level) { takeLevel(level); }));
    subscriptions_.push_back(probe_->problem().observe([this](const QString&) { Q_EMIT heardChanged(); }));
  }
  if (services_.devices) {
    subscriptions_.push_back(services_.devices->availableDevices().observe([this](const auto&) { readChoices(); }));
    subscriptions_.push_back(
        services_.devices->activeInputDeviceIdentifier().observe([this](const auto&) { deviceChanged(); }));
    subscriptions_.push_back(
        services_.devices->activeInputDeviceName().observe([this](const auto&) { readChoices(); }));
  }
  subscriptions_.push_back(services_.settings.observeChanges([this](const QString& key) {
    if (key == QLatin1String("selectedMicrophoneId")) readChoices();
  }));
  readChoices();
}

void MicrophoneViewModel::readChoices() {
  choices_ = {choice(QString(), localizedText("microphone.systemDefault"))};
  bool isSelectedThere = selectedId().isEmpty();
  if (services_.devices) {
    for (const AudioDevice& device : services_.devices->availableDevices().get()) {
      choices_ << choice(device.id, device.name);
      isSelectedThere = isSelectedThere || device.id == selectedId();
    }
  }
  if (!isSelectedThere) choices_ << choice(selectedId(), localizedText("microphone.gone"));
  Q_EMIT choicesChanged();
  Q_EMIT heardChanged();
}

QString MicrophoneViewModel::selectedId() const {
  return services_.settings.audio().selectedMicrophoneId();
}

void MicrophoneViewModel::select(const QString& id) {
  services_.settings.audio().setSelectedMicrophoneId(id);
}

QString MicrophoneViewModel::activeName() const {
  return services_.devices ? services_.devices->activeInputDeviceName().get() : QString();
}

bool MicrophoneViewModel::hasMicrophone() const {
  return services_.devices && !services_.devices->availableDevices().get().empty();
}

void MicrophoneViewModel::setProbing(bool isProbing) {
  if (!probe_ || isProbing == probe_->isRunning()) return;
  if (isProbing)
    probe_->start();
  else
    probe_->stop();
  loudSteps_ = 0;
  Q_EMIT probingChanged();
  Q_EMIT heardChanged();
}

// Another microphone has to be heard first; the probe listens to it from here on.
void MicrophoneViewModel::deviceChanged() {
  hasHeard_ = false;
  loudSteps_ = 0;
  if (isProbing()) {
    probe_->stop();
    probe_->start();
  }
  readChoices();
}

void MicrophoneViewModel::takeLevel(float level) {
  level_ = level;
  Q_EMIT levelChanged();
  loudSteps_ = level >= hearingLevel ? loudSteps_ + 1 : 0;
  if (hasHeard_ || loudSteps_ < hearingSteps) return;
  hasHeard_ = true;
  Q_EMIT heardChanged();
}

bool MicrophoneViewModel::hasProblem() const {
  return !hasMicrophone() || (isProbing() && !probe_->problem().get().isEmpty());
}

QString MicrophoneViewModel::statusText() const {
  if (!hasMicrophone()) return localizedText("microphone.none");
  if (isProbing() && !probe_->problem().get().isEmpty()) return probe_->problem().get();
  if (hasHeard_) return localizedText("microphone.hears", activeName());
  return localizedText("microphone.speak");
}

}  // namespace quillmere
