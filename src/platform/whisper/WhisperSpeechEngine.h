#pragma once
#include "base/log/Logger.h"
#include "domain/GgmlModelFile.h"
#include "platform/whisper/EngineProcessor.h"
#include "ports/SpeechEngine.h"

namespace quillmere {

// The speech engine on whisper.cpp. The library has one log for the whole process: it goes to the engine constructed
// last, until that is destroyed. Construct it before other threads run.
class WhisperSpeechEngine final : public SpeechEngine {
 public:
  explicit WhisperSpeechEngine(const Logging& logging, GgmlModelChecks checks = GgmlModelChecks::whole,
                               EngineProcessor processor = EngineProcessor::current());
  ~WhisperSpeechEngine() override;
  WhisperSpeechEngine(const WhisperSpeechEngine&) = delete;
  WhisperSpeechEngine& operator=(const WhisperSpeechEngine&) = delete;

  Result<std::unique_ptr<SpeechEngineContext>, PlatformError> load(const QString& modelPath) override;
  std::optional<QString> unsupportedProcessor() const override { return processor_.unsupported(); }

 private:
  Logger logger_;
  GgmlModelChecks checks_;
  EngineProcessor processor_;
};

}  // namespace quillmere
