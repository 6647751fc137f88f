#include "interface/AppStateViewModel.h"

#include <QCoreApplication>
#include <tuple>

#include "base/text/LocalizedText.h"
#include "interface/HistoryText.h"
#include "storage/PersistenceController.h"

namespace quillmere {

AppStateViewModel::AppStateViewModel(AppState& appState, PersistenceController* persistence, AppIntents intents)
    : appState_(appState), persistence_(persistence), intents_(std::move(intents)) {
  readModes();
  readLast();
  // Much of the state is nothing that is shown here, the search as it is typed for example.
  const auto shown = [](const AppStateData& data) {
    return std::tuple(data.recordingState, data.selectedModeId, data.selectedModeName);
  };
  observation_ = appState_.observe([this, shown, last = shown(appState_.data()),
                                    failed = appState_.data().lastFailedTranscript](const AppStateData& data) mutable {
    if (data.selectedModeId != selectedModeId_) readModes();
    if (data.lastFailedTranscript != failed) {
      failed = data.lastFailedTranscript;
      readLast();
    }
    if (auto now = shown(data); now != last) {
      last = std::move(now);
      Q_EMIT stateChanged();
    }
  });
  if (persistence_)
    storeObservation_ = persistence_->observeChanges([this](const StoreChange& change) {
      if (change.modes) readModes();
      if (change.transcripts) readLast();
    });
}

void AppStateViewModel::readModes() {
  selectedModeId_ = appState_.data().selectedModeId;
  QVariantList modes;
  if (persistence_) {
    for (const ModePtr& mode : persistence_->fetchAllModes()) {
      const QString id = mode->id ? mode->id->toString(QUuid::WithoutBraces) : QString();
      modes << QVariantMap{{QStringLiteral("id"), id},
                           {QStringLiteral("name"), mode->name.value_or(QString())},
                           {QStringLiteral("isSelected"), id.compare(selectedModeId_, Qt::CaseInsensitive) == 0}};
    }
  }
  if (modes == modes_) return;
  modes_ = modes;
  Q_EMIT modesChanged();
}

bool AppStateViewModel::isWorking() const {
  return is<RecordingState::Processing>() || is<RecordingState::Transcribing>() || is<RecordingState::PostProcessing>();
}

AppStateViewModel::TrayState AppStateViewModel::trayState() const {
  if (isRecording()) return TrayState::recording;
  if (isWorking()) return TrayState::working;
  return isMicrophoneAvailable_ && isModelAvailable_ ? TrayState::ready : TrayState::unable;
}

QString AppStateViewModel::trayStateName() const {
  switch (trayState()) {
    case TrayState::recording:
      return QStringLiteral("recording");
    case TrayState::working:
      return QStringLiteral("working");
    case TrayState::unable:
      return QStringLiteral("unable");
    case TrayState::ready:
      break;
  }
  return QStringLiteral("ready");
}

QString AppStateViewModel::statusText() const {
  switch (trayState()) {
    case TrayState::recording:
      return localizedText("app.status.recording", modeName());
    case TrayState::working:
      return localizedText(is<RecordingState::PostProcessing>() ? "recording.loading.postprocessing"
                                                                : "recording.loading.transcribing");
    case TrayState::unable:
      return localizedText(isMicrophoneAvailable_ ? "app.status.noModel" : "app.status.noMicrophone");
    case TrayState::ready:
      break;
  }
  return localizedText("app.status.ready", modeName());
}

QString AppStateViewModel::microphoneName() const {
  return microphoneName_.isEmpty() ? localizedText("app.microphone.none") : microphoneName_;
}

// The sentence has the key in its middle; where the language puts nothing before or after it, that side is empty.
QString AppStateViewModel::shortcutSentenceStart() const {
  switch (triggerKind_) {
    case TriggerKind::hold:
      return localizedText("app.shortcut.hold.start");
    case TriggerKind::doublePress:
      return localizedText("app.shortcut.doublePress.start");
    case TriggerKind::press:
      return localizedText("app.shortcut.press.start");
    case TriggerKind::command:
      return localizedText("app.shortcut.command.start");
    case TriggerKind::none:
      break;
  }
  return localizedText("app.shortcut.none");
}

QString AppStateViewModel::shortcutSentenceEnd() const {
  return triggerKind_ == TriggerKind::none ? QString() : localizedText("app.shortcut.end");
}

void AppStateViewModel::setLevel(float level) {
  if (level == level_) return;
  level_ = level;
  Q_EMIT levelChanged();
}

void AppStateViewModel::setMicrophone(const QString& name, bool isAvailable) {
  if (name == microphoneName_ && isAvailable == isMicrophoneAvailable_) return;
  microphoneName_ = name;
  isMicrophoneAvailable_ = isAvailable;
  Q_EMIT surroundingsChanged();
  Q_EMIT stateChanged();
}

void AppStateViewModel::setModel(const QString& text, bool isAvailable) {
  if (text == modelText_ && isAvailable == isModelAvailable_) return;
  modelText_ = text;
  isModelAvailable_ = isAvailable;
  Q_EMIT stateChanged();
}

void AppStateViewModel::setShortcut(const QString& keys, TriggerKind kind) {
  if (keys == shortcutText_ && kind == triggerKind_) return;
  shortcutText_ = keys;
  triggerKind_ = keys.isEmpty() ? TriggerKind::none : kind;
  Q_EMIT surroundingsChanged();
}

QString AppStateViewModel::version() const {
  return QCoreApplication::applicationVersion();
}

QString AppStateViewModel::qtVersion() const {
  return QString::fromLatin1(qVersion());
}

void AppStateViewModel::toggleRecording() {
  if (intents_.toggleRecording) intents_.toggleRecording();
}

void AppStateViewModel::cancelRecording() {
  if (intents_.cancelRecording) intents_.cancelRecording();
}

// What was thrown away, failed or is still being made is passed over.
QString AppStateViewModel::lastText() const {
  if (!persistence_) return {};
  constexpr int looked = 20;
  for (const TranscriptPtr& transcript :
       persistence_->fetchTranscriptPage(looked, 0, std::nullopt, HistoryFilter::kept).transcripts)
    if (transcript->status == TranscriptStatus::completed && !shownText(*transcript).isEmpty())
      return shownText(*transcript);
  return {};
}

QString AppStateViewModel::lastFailed() const {
  const std::optional<QUuid>& id = appState_.data().lastFailedTranscript;
  if (!id || !persistence_) return {};
  const QString text = id->toString(QUuid::WithoutBraces);
  const TranscriptPtr row = persistence_->fetchTranscript(text);
  return row && hasFailed(*row) ? text : QString();
}

void AppStateViewModel::readLast() {
  const bool hasText = !lastText().isEmpty();
  const QString failed = lastFailed();
  if (hasText == hasLastText_ && failed == lastFailed_) return;
  hasLastText_ = hasText;
  lastFailed_ = failed;
  Q_EMIT lastChanged();
}

void AppStateViewModel::retryLast() {
  if (const QString id = lastFailed(); !id.isEmpty() && intents_.retryTranscript) intents_.retryTranscript(id);
}

void AppStateViewModel::copyLastText() {
  const QString text = lastText();
  if (!text.isEmpty() && intents_.copyText) intents_.copyText(text);
}

void AppStateViewModel::selectMode(const QString& id) {
  if (!persistence_) return;
  if (const ModePtr mode = persistence_->fetchMode(id)) appState_.selectMode(*mode, true);
}

}  // namespace quillmere
