#include "interface/FirstRunViewModel.h"

#include <algorithm>
#include <cmath>

#include "base/async/Await.h"
#include "base/text/LocalizedText.h"
#include "core/AppState.h"
#include "interface/HistoryText.h"
#include "interface/MicrophoneViewModel.h"
#include "interface/ShortcutsViewModel.h"
#include "interface/SpeechSpeed.h"
#include "models/WhisperModelManager.h"
#include "ports/DefaultsStore.h"
#include "storage/PersistenceController.h"

namespace quillmere {
namespace {

const QString stepSetting = QStringLiteral("onboardingCurrentStep");

Task<void> later(std::function<void()> action) {
  co_await yieldNow();
  if (action) action();
}

}  // namespace

FirstRunViewModel::FirstRunViewModel(Services services, FirstRunIntents intents)
    : services_(services), intents_(std::move(intents)), scope_(services_.executor) {
  const int stored = std::clamp(services_.defaults.value(stepSetting).toInt(), 0, int(tryStep));
  services_.appState.update([&](AppStateData& data) { data.onboardingCurrentStep = stored; });
  subscriptions_.push_back(services_.appState.observe([this](const AppStateData&) { stateChanged(); }));
  subscriptions_.push_back(services_.models.observeDownloadedModels([this](const auto&) { takeArrivedModel(); }));
  subscriptions_.push_back(
      services_.models.observeDownloadingModels([this](const QSet<QString>& names) { takeDownloads(names); }));
  subscriptions_.push_back(services_.models.observeErrorMessage([this](const std::optional<QString>& message) {
    modelProblem_ = message.value_or(QString());
    Q_EMIT changed();
  }));
  connect(&services_.microphone, &MicrophoneViewModel::heardChanged, this, &FirstRunViewModel::changed);
  connect(&services_.shortcuts, &ShortcutsViewModel::changed, this, &FirstRunViewModel::changed);
}

bool FirstRunViewModel::isShown() const {
  return services_.appState.data().showOnboarding;
}

int FirstRunViewModel::step() const {
  return std::clamp(services_.appState.data().onboardingCurrentStep, 0, int(tryStep));
}

bool FirstRunViewModel::isStepDone() const {
  switch (step()) {
    case microphoneStep:
      return services_.microphone.hasHeard();
    case modelStep:
      return awaitedModel_ || isLocalModeReady() || !services_.models.downloadedModels().empty();
    case shortcutStep:
      // Where the session gives no keys there is nothing to be done here.
      return services_.shortcuts.hasTrigger() || !services_.shortcuts.isAvailable();
    default:
      return !heardText_.isEmpty();
  }
}

bool FirstRunViewModel::isLit() const {
  return step() == shortcutStep && (services_.appState.data().isToggleRecordingShortcutHeld || isRecording_);
}

void FirstRunViewModel::setActive(bool isActive) {
  if (isActive == isActive_) return;
  isActive_ = isActive;
  updateProbe();
  updateMeasurement();
  Q_EMIT changed();
}

void FirstRunViewModel::updateProbe() {
  services_.microphone.setProbing(isActive_ && isShown() && step() == microphoneStep);
}

void FirstRunViewModel::updateMeasurement() {
  const bool isQuiet = services_.appState.data().recordingState.is<RecordingState::Idle>();
  QString model, file;
  if (services_.speed && isActive_ && isShown() && step() == modelStep && isQuiet) {
    model = chosenModel();
    const auto here = services_.models.findDownloaded(model);
    if (here && here->url && !secondsPerMinute_.contains(model))
      file = here->url->toLocalFile();
    else
      model.clear();
  }
  if (model == measuredModel_) return;
  measuring_.cancel();
  measuredModel_ = model;
  if (!model.isEmpty()) measuring_ = scope_.spawn(measure(model, file));
}

Task<void> FirstRunViewModel::measure(QString model, QString file) {
  const std::optional<double> seconds = co_await services_.speed->secondsPerMinute(std::move(file));
  secondsPerMinute_[model] = seconds;
  measuredModel_.clear();
  Q_EMIT changed();
}

QString FirstRunViewModel::speedText() const {
  const QString model = chosenModel();
  if (!measuredModel_.isEmpty() && measuredModel_ == model) return localizedText("firstRun.model.measuring");
  const auto found = secondsPerMinute_.find(model);
  const auto here = services_.models.findDownloaded(model);
  if (found == secondsPerMinute_.end() || !found->second || !here) return {};
  return localizedText("firstRun.model.speed", durationText(std::max(1.0, std::round(*found->second))),
                       here->displayName);
}

void FirstRunViewModel::stateChanged() {
  const AppStateData& data = services_.appState.data();
  const bool isRecording = data.recordingState.is<RecordingState::Recording>();
  // The dictation that the shortcut has just started here was a trial of the shortcut only.
  const bool isTrial = isRecording && !isRecording_ && isShown() && isActive_ && step() == shortcutStep;
  isRecording_ = isRecording;
  hasLit_ = hasLit_ || (isShown() && isLit());
  if (isTrial) scope_.spawn(later(intents_.cancelDictation));
  if (isTrying() && !data.lastTranscription.isEmpty()) heardText_ = data.lastTranscription;
  updateProbe();
  updateMeasurement();
  Q_EMIT changed();
}

void FirstRunViewModel::setStep(int step) {
  services_.shortcuts.stopRecording();
  services_.defaults.setValue(stepSetting, step);
  services_.appState.update([&](AppStateData& data) { data.onboardingCurrentStep = step; });
}

void FirstRunViewModel::next() {
  if (!isShown()) return;
  // A model that is here already counts.
  if (step() == modelStep && !isLocalModeReady() && !awaitedModel_ && !services_.models.downloadedModels().empty())
    useLocally(services_.models.downloadedModels().front().name);
  if (step() < tryStep) {
    setStep(step() + 1);
    return;
  }
  services_.appState.setHasCompletedOnboarding(true);
  services_.defaults.remove(stepSetting);
  services_.appState.update([](AppStateData& data) {
    data.showOnboarding = false;
    data.onboardingCurrentStep = 0;
  });
}

void FirstRunViewModel::back() {
  if (isShown() && step() > 0) setStep(step() - 1);
}

bool FirstRunViewModel::isOffered(const QString& modelName) {
  return QStringList{QStringLiteral("tiny"), QStringLiteral("base"), QStringLiteral("small"),
                     QStringLiteral("large-v3_turbo")}
      .contains(modelName);
}

bool FirstRunViewModel::isLocalModeReady() const {
  const ModePtr mode = services_.persistence.fetchMode(services_.appState.data().selectedModeId);
  return mode && services_.models.findDownloaded(mode->model.value_or(QString())).has_value();
}

QString FirstRunViewModel::chosenModel() const {
  if (awaitedModel_) return *awaitedModel_;
  const ModePtr mode = services_.persistence.fetchMode(services_.appState.data().selectedModeId);
  const QString model = mode ? mode->model.value_or(QString()) : QString();
  if (services_.models.findDownloaded(model)) return model;
  const auto& installed = services_.models.downloadedModels();
  return installed.empty() ? QString() : installed.front().name;
}

void FirstRunViewModel::chooseModel(const QString& name) {
  modelProblem_.clear();
  if (awaitedModel_ && *awaitedModel_ != name) services_.models.cancelDownload(*awaitedModel_);
  awaitedModel_.reset();
  if (services_.models.findDownloaded(name)) {
    useLocally(name);
    return;
  }
  for (const WhisperCppModel& model : services_.models.availableModels()) {
    if (model.name != name) continue;
    awaitedModel_ = name;
    isDownloadSeen_ = services_.models.downloadingModels().contains(name);
    if (!isDownloadSeen_) scope_.spawn(services_.models.download(model));
  }
  Q_EMIT changed();
}

void FirstRunViewModel::takeArrivedModel() {
  if (awaitedModel_ && services_.models.findDownloaded(*awaitedModel_)) useLocally(*std::exchange(awaitedModel_, {}));
  updateMeasurement();
  Q_EMIT changed();
}

// A download that ended without its model is over.
void FirstRunViewModel::takeDownloads(const QSet<QString>& names) {
  if (!awaitedModel_) return;
  if (names.contains(*awaitedModel_))
    isDownloadSeen_ = true;
  else if (isDownloadSeen_ && !services_.models.findDownloaded(*awaitedModel_))
    awaitedModel_.reset();
  updateMeasurement();
  Q_EMIT changed();
}

// The mode that works without network, with this model, and selected.
void FirstRunViewModel::useLocally(const QString& modelName) {
  const ModePtr present = services_.persistence.fetchMode(QString::fromLatin1(localDefaultModeId));
  ModeData data;
  if (present) {
    data = modeDataFrom(*present);
  } else {
    data.id = QUuid::fromString(QLatin1String(localDefaultModeId));
    data.name = localizedText("firstRun.localMode");
    data.preset = rawValue(PresetType::voiceToText);
    data.language = QStringLiteral("auto");
    data.punctuation = data.capitalization = true;
  }
  data.model = modelName;
  if (isEnglishOnlyModel(modelName)) data.language = QStringLiteral("en");
  const ModePtr mode = services_.persistence.saveMode(data);
  if (!mode || services_.persistence.isSaveRefused()) modelProblem_ = localizedText("models.use.notSaved");
  services_.appState.switchToLocalDefault();
  if (intents_.modelChosen && mode) intents_.modelChosen(mode);
  updateMeasurement();
  Q_EMIT changed();
}

void FirstRunViewModel::tryDictation() {
  if (intents_.tryDictation) intents_.tryDictation();
}

QString FirstRunViewModel::tryProblem() const {
  if (!isLocalModeReady()) return localizedText(awaitedModel_ ? "firstRun.try.downloading" : "firstRun.try.noModel");
  return services_.microphone.hasMicrophone() ? QString() : localizedText("firstRun.try.noMicrophone");
}

}  // namespace quillmere
