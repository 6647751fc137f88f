#pragma once
#include <QString>
#include <optional>
#include <vector>

#include "base/async/Async.h"
#include "transcripts/Transcriber.h"

namespace quillmere {

// A pipeline that answers what it was told, after a time; "%1" becomes the number of the call. One engine: calls take
// turns in their order.
class ScriptedTranscriber final : public Transcriber {
 public:
  Result<QString, AnyError> answer = QStringLiteral("Hello there.");
  Duration takes = std::chrono::milliseconds(400);
  std::optional<Duration> rewriteTakes;  // nothing: no language model
  std::vector<TranscriptionRequest> calls;
  int cancels = 0;

  Task<Result<TranscriptionResult, AnyError>> transcribeWithDetails(TranscriptionRequest request) override {
    calls.push_back(request);
    Result<QString, AnyError> told = answer;
    if (told && told->contains("%1")) told = told->arg(calls.size());
    const Duration decoding = takes;
    const std::optional<Duration> rewriting = rewriteTakes;
    const Executor& executor = co_await currentExecutor();
    TranscriptionResult result;
    bool isRewritten = false;
    try {
      auto pass = co_await gate_.enter();
      result.timings.decodingBegan = executor.now();
      co_await sleepFor(decoding);
      result.timings.decoding = decoding;
      pass = {};
      if (rewriting && told && !told->isEmpty()) {
        isRewritten = true;
        if (request.onRewriting) request.onRewriting();
        co_await sleepFor(*rewriting);
      }
    } catch (const Cancelled&) {
      ++cancels;
      throw;
    }
    if (!told) co_return Failed{told.error()};
    result.rawText = *told;
    result.text = isRewritten ? QStringLiteral("Rewritten: ") + *told : *told;
    result.provider = "Scripted";
    result.mode = request.mode;
    result.wasPostProcessed = isRewritten;
    if (isRewritten) result.postProcessingProvider = "groq";
    co_return result;
  }

 private:
  SerialGate gate_;
};

}  // namespace quillmere
