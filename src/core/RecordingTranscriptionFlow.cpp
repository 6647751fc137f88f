#include "core/RecordingTranscriptionFlow.h"

#include "base/async/Async.h"
#include "base/text/LocalizedText.h"
#include "core/AppState.h"
#include "core/ShortcutNames.h"
#include "ports/ErrorReporting.h"
#include "ports/GlobalShortcuts.h"
#include "recording/RecordingLifecycle.h"
#include "recording/RecordingSessionManager.h"
#include "storage/SettingsManager.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using R = PressReducer;

constexpr auto shutDownLimit = 10s;

}  // namespace

RecordingTranscriptionFlow::RecordingTranscriptionFlow(DictationServices services, const Logging& logging)
    : use_(std::move(services)),
      logger_(logging.logger(QStringLiteral("RecordingTranscriptionFlow"))),
      scope_(use_.executor) {
  use_.recordingLifecycle.setOnInterrupted([this](const AudioRecorder::Interruption&) {
    handle(R::RecorderEnded{state_.newest}, pressNow(RecordingTriggerSource::autoStop));
  });
}

RecordingTranscriptionFlow::~RecordingTranscriptionFlow() {
  use_.recordingLifecycle.setOnInterrupted(nullptr);
  if (isCancelKeyOn_) use_.globalShortcuts.setHandlers(shortcutNames::cancelRecording, {});
}

// --- what the user does

void RecordingTranscriptionFlow::toggleRecording(std::optional<QString> modeName, bool stopOnly,
                                                 RecordingTriggerSource trigger) {
  assertCurrent(use_.executor);
  const bool isFirst = !waitingPress_;
  if (!isFirst) logger_.info("Toggle task cancelled before execution");
  waitingPress_ = pressNow(trigger);
  waitingPress_->modeName = std::move(modeName);
  waitingPress_->stopOnly = stopOnly;
  static constexpr auto later = [](RecordingTranscriptionFlow& self) -> Task<void> {
    const auto press = std::exchange(self.waitingPress_, std::nullopt);
    if (press) self.act(*press);
    co_return;
  };
  if (isFirst) scope_.spawn(later(*this));
}

void RecordingTranscriptionFlow::act(const Press& press) {
  if (press.stopOnly)
    handle(R::Discard{}, press);
  else if (!isStreamingRefused())
    handle(R::Press{}, press);
}

void RecordingTranscriptionFlow::holdBegan() {
  handle(R::HoldBegan{}, pressNow(RecordingTriggerSource::pushToTalk));
}

void RecordingTranscriptionFlow::holdEnded() {
  handle(R::HoldEnded{}, pressNow(RecordingTriggerSource::pushToTalk));
}

void RecordingTranscriptionFlow::interference() {
  handle(R::Interference{cancelKey()}, pressNow(RecordingTriggerSource::pushToTalk));
}

void RecordingTranscriptionFlow::cancelFromShortcut() {
  const bool wasAsking = state_.isQuestionUp;
  handle(cancelKey(), pressNow(RecordingTriggerSource::cancelShortcut));
  if (wasAsking) logger_.info("↩️ Dismissed cancel confirmation, continuing recording");
}

R::CancelKey RecordingTranscriptionFlow::cancelKey() const {
  // Without the pill there is nobody to ask.
  return {use_.recordingLifecycle.recordingDuration().get(), use_.settingsManager.general().showRecordingWindow()};
}

bool RecordingTranscriptionFlow::isRecordingNow() const {
  return use_.recordingLifecycle.isRecording().get();
}

double RecordingTranscriptionFlow::liveRecordingDuration() const {
  return use_.recordingLifecycle.recordingDuration().get();
}

RecordingTranscriptionFlow::Press RecordingTranscriptionFlow::pressNow(RecordingTriggerSource trigger) const {
  return {std::nullopt, false, trigger, use_.executor.now()};
}

// Live dictation isn't there yet: a start by its shortcut says so.
bool RecordingTranscriptionFlow::isStreamingRefused() {
  if (!use_.appState.data().isStreamingShortcutTriggered) return false;
  use_.appState.update([](AppStateData& data) { data.isStreamingShortcutTriggered = false; });
  if (state_.phase == R::Phase::starting || state_.phase == R::Phase::recording) return false;  // it stops
  logger_.warning("📡 Streaming shortcut detected - live dictation is not available");
  use_.appState.showError(localizedText("recording.error.streamingUnavailable"), false);
  return true;
}

// --- what follows

void RecordingTranscriptionFlow::handle(const R::Event& event, const Press& press) {
  assertCurrent(use_.executor);
  // The pill's own buttons answer the question in the application's state.
  if (!use_.appState.data().showCancelConfirmation) state_.isQuestionUp = false;
  const R::Step step = R::step(state_, event);
  state_ = step.state;
  for (const R::Effect& effect : step.effects) perform(effect, press);
  publish();
}

void RecordingTranscriptionFlow::perform(const R::Effect& effect, const Press& press) {
  using Kind = R::Effect::Kind;
  if (effect.kind == Kind::begin) {
    begin(effect.id, press);
    return;
  }
  const DictationPtr dictation = find(effect.id);
  if (!dictation) return;
  if (effect.kind != Kind::stop) use_.appState.update([](AppStateData& data) { data.showRecordingDialog = false; });
  switch (effect.kind) {
    case Kind::stop:
      dictation->end(Dictation::Ending::transcribe, press.at);
      break;
    case Kind::discard:
      dictation->end(Dictation::Ending::discard, press.at);
      logger_.info("❌ Cancelled recording via shortcut");
      break;
    case Kind::cancelTranscription:
      dictation->cancelTranscription();
      logger_.info("❌ Cancelled transcription/processing via shortcut");
      break;
    case Kind::begin:
      break;
  }
}

void RecordingTranscriptionFlow::begin(R::DictationId number, const Press& press) {
  isRewriting_ = false;
  use_.appState.update([](AppStateData& data) {
    data.lastTranscription.clear();
    data.streamingText.clear();
    data.pendingRetryAudioPath.reset();
    data.transcriptionPasteFailed = false;
    data.dictationNotice = DictationNotice::none;
    data.dictationError.reset();
    data.lastPaste = PasteOutcome::none;
    data.showRecordingDialog = true;
  });
  Dictation::Beginning beginning{number, press.trigger, press.modeName, press.at};
  DictationHost& host = *this;
  auto dictation = std::make_shared<Dictation>(use_, host, std::move(beginning), logger_);
  dictations_.push_back(dictation);
  scope_.spawn(carry(std::move(dictation)));
}

Task<void> RecordingTranscriptionFlow::carry(DictationPtr dictation) {
  co_await dictation->run();
  ended(dictation);
}

void RecordingTranscriptionFlow::ended(const DictationPtr& dictation) {
  if (dictation->finalTimings()) lastTimings_.set(dictation->finalTimings());
  const bool isPillOver = isNewest(*dictation) && !dictation->leavesPill();
  std::erase(dictations_, dictation);
  if (isPillOver) use_.appState.update([](AppStateData& data) { data.showRecordingDialog = false; });
  handle(R::Ended{dictation->number()}, pressNow(RecordingTriggerSource::unknown));
  if (dictations_.empty())
    for (Completion<>& waiting : std::exchange(waitingForNone_, {})) waiting.resolve();
}

RecordingTranscriptionFlow::DictationPtr RecordingTranscriptionFlow::find(R::DictationId number) const {
  for (const DictationPtr& dictation : dictations_)
    if (dictation->number() == number) return dictation;
  return nullptr;
}

// --- DictationHost

bool RecordingTranscriptionFlow::isNewest(const Dictation& dictation) const {
  return dictation.number() == state_.newest;
}

void RecordingTranscriptionFlow::recorderRuns(const Dictation& dictation) {
  if (isNewest(dictation)) newestTarget_ = dictation.target();
  handle(R::Running{dictation.number()}, pressNow(dictation.trigger()));
}

void RecordingTranscriptionFlow::recorderEnded(const Dictation& dictation) {
  handle(R::RecorderEnded{dictation.number()}, pressNow(RecordingTriggerSource::autoStop));
}

void RecordingTranscriptionFlow::transcribes(const Dictation& dictation) {
  handle(R::Transcribing{dictation.number()}, pressNow(dictation.trigger()));
}

void RecordingTranscriptionFlow::rewrites(const Dictation& dictation) {
  if (!isNewest(dictation)) return;
  isRewriting_ = true;
  publish();
}

void RecordingTranscriptionFlow::hasText(const Dictation& dictation) {
  handle(R::Ended{dictation.number()}, pressNow(dictation.trigger()));
}

void RecordingTranscriptionFlow::show(const Dictation& dictation, const std::function<void(AppStateData&)>& change) {
  if (isNewest(dictation)) use_.appState.update(change);
}

void RecordingTranscriptionFlow::compressLater(const QString& path, const TranscriptPtr& row) {
  scope_.spawn(use_.recordingLifecycle.convertInBackground(path, row));
}

// --- what is to be seen

void RecordingTranscriptionFlow::publish() {
  RecordingState shown{RecordingState::Idle{}};
  switch (state_.phase) {
    case R::Phase::recording:
    case R::Phase::finishing:
      shown = {RecordingState::Recording{}};
      break;
    case R::Phase::transcribing:
      shown = isRewriting_ ? RecordingState{RecordingState::PostProcessing{}}
                           : RecordingState{RecordingState::Transcribing{}};
      break;
    default:
      break;
  }
  switchCancelKey(R::isCancelKeyOn(state_));
  use_.appState.update([&](AppStateData& data) {
    data.recordingState = shown;
    data.showCancelConfirmation = state_.isQuestionUp;
  });
}

void RecordingTranscriptionFlow::switchCancelKey(bool isOn) {
  if (isCancelKeyOn_ == isOn || (!isOn && !isCancelKeyOn_)) return;
  if (!isCancelKeyOn_) {
    GlobalShortcuts::Handlers handlers;
    handlers.onKeyUp = [this] { cancelFromShortcut(); };
    use_.globalShortcuts.setHandlers(shortcutNames::cancelRecording, std::move(handlers));
  }
  isCancelKeyOn_ = isOn;
  use_.globalShortcuts.setEnabled(shortcutNames::cancelRecording, isOn);
}

// --- the end of the application

Task<void> RecordingTranscriptionFlow::shutDown() {
  Completion<> end;
  static constexpr auto runAndTell = [](RecordingTranscriptionFlow& self, Completion<> told) -> Task<void> {
    co_await self.closeEverything();
    told.resolve();
  };
  scope_.spawn(runAndTell(*this, end));
  co_await end.wait();
}

Task<void> RecordingTranscriptionFlow::closeEverything() {
  waitingPress_.reset();
  handle(R::Closing{}, pressNow(RecordingTriggerSource::unknown));
  const auto underWay = dictations_;
  for (const DictationPtr& dictation : underWay) dictation->close();
  if (dictations_.empty()) co_return;
  Completion<> none;
  waitingForNone_.push_back(none);
  co_await withTimeout(shutDownLimit, none.wait());
}

}  // namespace quillmere
