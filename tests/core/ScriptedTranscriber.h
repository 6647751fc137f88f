#pragma once
#include <QString>
#include <optional>
#include <vector>

#include "base/async/Async.h"
#include "core/AppState.h"
#include "domain/ApplicationContext.h"
#include "domain/States.h"
#include "providers/Transcriber.h"

namespace quillmere {

// A pipeline that answers what it was told, after a time. One transcription runs at a time, as in the real one.
class ScriptedTranscriber final : public Transcriber {
 public:
  Result<QString, AnyError> answer = QStringLiteral("Hello there.");
  Duration takes = std::chrono::milliseconds(400);
  std::optional<Duration> rewriteTakes;  // nothing: no language model
  AppState* appState = nullptr;

  struct Call {
    QString audioPath;
    ModePtr mode;
    std::optional<ApplicationContext> context;
    std::optional<QString> selectedText;
  };
  std::vector<Call> calls;
  int cancels = 0;
  TranscriptionState state;

  Task<Result<TranscriptionResult, AnyError>> transcribeWithDetails(TranscriptionRequest request) override {
    Call call{request.audioPath, request.mode, std::nullopt, request.selectedText};
    if (request.applicationContext != nullptr) call.context = *request.applicationContext;
    calls.push_back(std::move(call));
    end();
    const Completion<> ended;
    running_ = ended;
    state = {TranscriptionState::Transcribing{QStringLiteral("Scripted"), 0.1F}};
    auto working = wait(takes, ended);
    co_await std::move(working);
    if (rewriteTakes) {
      state = {TranscriptionState::PostProcessing{}};
      appState->update([](AppStateData& data) { data.recordingState = {RecordingState::PostProcessing{}}; });
      auto rewriting = wait(*rewriteTakes, ended);
      co_await std::move(rewriting);
    }
    running_.reset();
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
  void cancelTranscription() override {
    ++cancels;
    end();
    state = {};
  }

 private:
  static Task<void> wait(Duration duration, Completion<> ended) {
    auto limited = withTimeout(duration, ended.wait());
    const bool wasCancelled = co_await std::move(limited);
    if (wasCancelled) throw Cancelled{};
  }
  void end() {
    if (auto running = std::exchange(running_, std::nullopt)) running->resolve();
  }

  std::optional<Completion<>> running_;
};

}  // namespace quillmere
