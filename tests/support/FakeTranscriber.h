#pragma once
#include <vector>

#include "base/async/Async.h"
#include "transcripts/Transcriber.h"

namespace quillmere {

// A pipeline that answers what it was told, at once or never.
class FakeTranscriber final : public Transcriber {
 public:
  std::optional<AnyError> error;
  TranscriptionResult result;
  bool neverEnds = false;
  std::vector<float> progress;  // told before the answer
  bool rewrites = false;        // tells of that, too
  std::vector<TranscriptionRequest> requests;

  Task<Result<TranscriptionResult, AnyError>> transcribeWithDetails(TranscriptionRequest request) override {
    requests.push_back(request);
    if (request.onProgress)
      for (const float share : progress) request.onProgress(share);
    if (rewrites) {
      request.onRewriting();
      request.onRewrittenText("so far");
      request.onRewritingProblem({TranscriptionError::Busy{}});
    }
    if (neverEnds) {
      Completion<void> never;
      co_await never.wait();
    }
    co_await yieldNow();
    if (error) co_return Failed{*error};
    co_return result;
  }
};

}  // namespace quillmere
