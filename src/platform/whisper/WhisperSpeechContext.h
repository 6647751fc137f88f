#pragma once
#include <memory>
#include <thread>
#include <vector>

#include "base/log/Logger.h"
#include "ports/SpeechEngine.h"

struct whisper_context;

namespace quillmere {

// One loaded whisper.cpp model. Threads, errors and stopping: see the port.
class WhisperSpeechContext final : public SpeechEngineContext {
 public:
  // Takes the handle over.
  WhisperSpeechContext(whisper_context* handle, Logger logger);
  ~WhisperSpeechContext() override;

  bool run(SpeechSamples samples16kHz, const SpeechRunParameters& parameters, const std::atomic<bool>& stop) override;
  int segmentCount() const override { return static_cast<int>(segments_.size()); }
  QByteArray segmentText(int segment) const override;
  std::optional<QByteArray> detectedLanguage() const override { return language_; }

 private:
  struct Free {
    void operator()(whisper_context* handle) const;
  };
  struct Call;
  void waitForCall();

  std::unique_ptr<whisper_context, Free> handle_;
  std::thread call_;  // in the library: the present run, or a broken off one that isn't out yet
  Logger logger_;
  std::vector<QByteArray> segments_;
  std::optional<QByteArray> language_;
};

}  // namespace quillmere
