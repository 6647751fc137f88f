#pragma once
#include <QString>
#include <functional>
#include <optional>

#include "base/Published.h"
#include "base/async/Executor.h"
#include "files/TimeLeft.h"

namespace quillmere {

enum class FileTranscriptionStage { preparing, transcribing, finishing };

// "preparing", "transcribing" or "finishing".
QString stageName(FileTranscriptionStage stage);

// What a progress display of one file shows. The values are compared as a whole; observers see every change in order.
struct FileTranscriptionProgressState {
  FileTranscriptionStage stage = FileTranscriptionStage::preparing;
  float progress = 0;  // 0 to 1
  bool isActive = false;
  bool isCancelled = false;
  QString fileName;
  QString modeName;
  int secondsRunning = 0;          // since the start; rises every second, whatever else stands still
  std::optional<int> secondsLeft;  // of the engine's work, as far as it can be told
  bool operator==(const FileTranscriptionProgressState&) const = default;
};

// The bar of a file transcription: a value that is animated from milestone to milestone, and slowly on its own where
// the engine does not say how far it is. A clock goes along with it. Main thread only.
class FileTranscriptionProgress {
 public:
  // `executor` outlives this object; its clock drives the animation.
  explicit FileTranscriptionProgress(Executor& executor);
  ~FileTranscriptionProgress();
  FileTranscriptionProgress(const FileTranscriptionProgress&) = delete;
  FileTranscriptionProgress& operator=(const FileTranscriptionProgress&) = delete;

  const FileTranscriptionProgressState& state() const { return state_.get(); }
  [[nodiscard]] Subscription observe(std::function<void(const FileTranscriptionProgressState&)> observer);

  void start(const QString& fileName, const QString& modeName);
  void setStage(FileTranscriptionStage stage);
  // Moves the bar from where it is to `target` (held to 0..1) within `duration`, 60 steps a second.
  void animate(float target, std::chrono::duration<double> duration);
  // The engine's turn. The bar moves on slowly by itself until the engine says how far it is.
  void beginEngine();
  // How far the engine is, 0 to 1, rising.
  void tellEngine(float share);
  // Marks the run as cancelled and stops the animation.
  void cancel();
  // Back to the values of an unused object.
  void reset();

  bool isAnimating() const { return timer_.has_value(); }

 private:
  template <typename F>
  void update(F change) {
    FileTranscriptionProgressState next = state_.get();
    change(next);
    state_.set(std::move(next));
  }
  void stopTimer();
  void startTick();
  void tick();
  void startClock();
  void stopClock();
  void showTime();

  Executor& executor_;
  Published<FileTranscriptionProgressState> state_;
  std::optional<Executor::TimerId> timer_;
  float startProgress_ = 0;
  float targetProgress_ = 0;
  TimePoint animationStartTime_{};
  std::chrono::duration<double> animationDuration_{};
  std::optional<Executor::TimerId> clock_;
  TimePoint beginning_{};
  TimeLeft timeLeft_;
};

}  // namespace quillmere
