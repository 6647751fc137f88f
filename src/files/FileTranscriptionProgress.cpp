#include "files/FileTranscriptionProgress.h"

#include <algorithm>

namespace quillmere {
namespace {
using namespace std::chrono_literals;

constexpr auto tickInterval = std::chrono::duration_cast<Duration>(std::chrono::duration<double>(1.0 / 60));
// Between them the bar stands for the engine's work.
constexpr float engineBegin = 0.15f;
constexpr float engineEnd = 0.85f;
}  // namespace

QString stageName(FileTranscriptionStage stage) {
  switch (stage) {
    case FileTranscriptionStage::preparing:
      return QStringLiteral("preparing");
    case FileTranscriptionStage::transcribing:
      return QStringLiteral("transcribing");
    case FileTranscriptionStage::finishing:
      return QStringLiteral("finishing");
  }
  return {};
}

FileTranscriptionProgress::FileTranscriptionProgress(Executor& executor) : executor_(executor) {}

FileTranscriptionProgress::~FileTranscriptionProgress() {
  stopTimer();
  stopClock();
}

Subscription FileTranscriptionProgress::observe(std::function<void(const FileTranscriptionProgressState&)> observer) {
  return state_.observe(std::move(observer));
}

void FileTranscriptionProgress::start(const QString& fileName, const QString& modeName) {
  FileTranscriptionProgressState next;
  next.isActive = true;
  next.fileName = fileName;
  next.modeName = modeName;
  stopTimer();
  stopClock();
  timeLeft_ = {};
  beginning_ = executor_.now();
  state_.set(std::move(next));
  animate(0.05f, std::chrono::duration<double>(0.3));
  startClock();
}

void FileTranscriptionProgress::beginEngine() {
  setStage(FileTranscriptionStage::transcribing);
  animate(engineEnd, 60s);
}

void FileTranscriptionProgress::tellEngine(float share) {
  timeLeft_.add(executor_.now(), share);
  animate(engineBegin + (engineEnd - engineBegin) * share, 300ms);
  showTime();
}

void FileTranscriptionProgress::setStage(FileTranscriptionStage stage) {
  update([&](auto& state) {
    state.stage = stage;
    if (stage != FileTranscriptionStage::transcribing) state.secondsLeft.reset();
  });
}

void FileTranscriptionProgress::animate(float target, std::chrono::duration<double> duration) {
  stopTimer();
  startProgress_ = state().progress;
  targetProgress_ = std::clamp(target, 0.f, 1.f);
  animationStartTime_ = executor_.now();
  animationDuration_ = duration;
  startTick();
}

void FileTranscriptionProgress::cancel() {
  stopTimer();
  stopClock();
  update([](auto& state) { state.isCancelled = true; });
}

void FileTranscriptionProgress::reset() {
  stopTimer();
  stopClock();
  startProgress_ = targetProgress_ = 0;
  animationStartTime_ = {};
  animationDuration_ = {};
  state_.set({});
}

void FileTranscriptionProgress::stopTimer() {
  if (timer_) executor_.cancelTimer(*timer_);
  timer_.reset();
}

void FileTranscriptionProgress::startClock() {
  clock_ = executor_.startTimer(1s, [this] {
    startClock();
    showTime();
  });
}

void FileTranscriptionProgress::stopClock() {
  if (clock_) executor_.cancelTimer(*clock_);
  clock_.reset();
}

void FileTranscriptionProgress::showTime() {
  const TimePoint now = executor_.now();
  update([&](auto& state) {
    state.secondsRunning = int(std::chrono::floor<std::chrono::seconds>(now - beginning_).count());
    if (state.stage != FileTranscriptionStage::transcribing) return;
    const std::optional<Duration> left = timeLeft_.at(now);
    state.secondsLeft.reset();
    if (left) state.secondsLeft = int(std::chrono::ceil<std::chrono::seconds>(*left).count());
  });
}

void FileTranscriptionProgress::startTick() {
  timer_ = executor_.startTimer(tickInterval, [this] { tick(); });
}

void FileTranscriptionProgress::tick() {
  timer_.reset();
  const std::chrono::duration<double> passed = executor_.now() - animationStartTime_;
  const double share = animationDuration_.count() > 0 ? std::min(1.0, passed / animationDuration_) : 1.0;
  if (share < 1.0) startTick();
  update([&](auto& state) {
    state.progress = startProgress_ + (targetProgress_ - startProgress_) * static_cast<float>(share);
  });
}

}  // namespace quillmere
