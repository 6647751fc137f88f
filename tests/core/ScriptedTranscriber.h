#pragma once
#include <QString>
#include <optional>
#include <vector>

#include "base/async/Async.h"
#include "transcripts/Transcriber.h"

namespace quillmere {

// A pipeline that answers what it was told, after a time. One engine: calls take turns in their order.
class ScriptedTranscriber final : public Transcriber {
 public:
  Result<QString, AnyError> answer = QStringLiteral("Hello there.");
  Duration takes = std::chrono::milliseconds(400);
  std::optional<Duration> rewriteTakes;  // nothing: no language model
  std::vector<TranscriptionRequest> calls;
  int cancels = 0;

  Task<Result<TranscriptionResult, AnyError>> transcribeWithDetails(TranscriptionRequest request) override {
    calls.push_back(request);
    const Result<QString, AnyError> told = answer;
    const Duration decoding = takes;
    const std::optional<Duration> rewriting = rewriteTakes;
    try {
      auto pass = co_await gate_.enter();
      co_await sleepFor(decoding);
      pass = {};
      if (rewriting) {
        if (request.onRewriting) request.onRewriting();
        co_await sleepFor(*rewriting);
      }
    } catch (const Cancelled&) {
      ++cancels;
      throw;
    }
    if (!told) co_return Failed{told.error()};
    TranscriptionResult result;
    result.rawText = *told;
    result.text = rewriting ? QStringLiteral("Rewritten: ") + *told : *told;
    result.provider = QStringLiteral("Scripted");
    result.mode = request.mode;
    result.wasPostProcessed = rewriting.has_value();
    if (rewriting) result.postProcessingProvider = QStringLiteral("groq");
    co_return result;
  }

 private:
  SerialGate gate_;
};

}  // namespace quillmere
