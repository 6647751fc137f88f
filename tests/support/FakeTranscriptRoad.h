#pragma once
#include <vector>

#include "base/async/Completion.h"
#include "transcripts/TranscriptRoad.h"

namespace quillmere {

// Takes every job to its text at once, or holds it until it is let go or cancelled.
class FakeTranscriptRoad final : public TranscriptRoad {
 public:
  std::vector<QString> audioPaths;  // of the jobs, in their order
  std::vector<ModePtr> modes;
  std::optional<AnyError> error;  // instead of a text
  bool isHolding = false;
  std::function<void(float)> onProgress;  // of the job that is held

  void letGo() { held_.resolve(); }

  Task<TranscriptOutcome> run(TranscriptJob job) override {
    audioPaths.push_back(job.audioPath);
    modes.push_back(job.mode);
    onProgress = job.onProgress;
    if (job.onStage) job.onStage(TranscriptJob::Stage::transcribing);
    if (isHolding) {
      held_ = {};
      co_await held_.wait();
    }
    TranscriptOutcome outcome;
    outcome.error = error;
    if (!error) outcome.result.emplace().text = QStringLiteral("Text.");
    co_return outcome;
  }

 private:
  Completion<> held_;
};

}  // namespace quillmere
