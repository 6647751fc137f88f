#pragma once
#include <QString>
#include <optional>
#include <vector>

#include "base/async/Async.h"
#include "domain/States.h"
#include "transcripts/Transcriber.h"

namespace quillmere {

// A pipeline that answers what it was told, after a time.
class ScriptedTranscriber final : public Transcriber {
 public:
  Result<QString, AnyError> answer = QStringLiteral("Hello there.");
  Duration takes = std::chrono::milliseconds(400);
  std::optional<Duration> rewriteTakes;  // nothing: no language model

  struct Call {
    QString audioPath;
    ModePtr mode;
    std::optional<ApplicationContext> context;
    std::optional<QString> selectedText;
  };
  std::vector<Call> calls;
  int cancels = 0;
  TranscriptionState state;  // of the newest call

  Task<Result<TranscriptionResult, AnyError>> transcribeWithDetails(TranscriptionRequest request) override {
    Call call{request.audioPath, request.mode, std::nullopt, request.selectedText};
    call.context = request.applicationContext;
    calls.push_back(std::move(call));
    state = {TranscriptionState::Transcribing{QStringLiteral("Scripted"), 0.1F}};
    try {
      co_await sleepFor(takes);
      if (rewriteTakes) {
        state = {TranscriptionState::PostProcessing{}};
        if (request.onRewriting) request.onRewriting();
        co_await sleepFor(*rewriteTakes);
      }
    } catch (const Cancelled&) {
      ++cancels;
      state = {};
      throw;
    }
    state = {};
    if (!answer) co_return Failed{answer.error()};
    TranscriptionResult result;
    result.rawText = *answer;
    result.text = rewriteTakes ? QStringLiteral("Rewritten: ") + *answer : *answer;
    result.provider = QStringLiteral("Scripted");
    result.mode = request.mode;
    result.wasPostProcessed = rewriteTakes.has_value();
    if (rewriteTakes) result.postProcessingProvider = QStringLiteral("groq");
    co_return result;
  }
};

}  // namespace quillmere
