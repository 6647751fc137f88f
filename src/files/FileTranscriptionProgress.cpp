#include "files/FileTranscriptionProgress.h"

#include <algorithm>

namespace quillmere {
namespace {
constexpr auto tickInterval = std::chrono::duration_cast<Duration>(std::chrono::duration<double>(1.0 / 60));
}

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
  state_.set(std::move(next));
  animate(0.05f, std::chrono::duration<double>(0.3));
}

void FileTranscriptionProgress::setStage(FileTranscriptionStage stage) {
  update([&](auto& state) { state.stage = stage; });
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
  update([](auto& state) { state.isCancelled = true; });
}

void FileTranscriptionProgress::reset() {
  stopTimer();
  startProgress_ = targetProgress_ = 0;
  animationStartTime_ = {};
  animationDuration_ = {};
  state_.set({});
}

void FileTranscriptionProgress::stopTimer() {
  if (timer_) executor_.cancelTimer(*timer_);
  timer_.reset();
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
