#pragma once
#include <QByteArray>
#include <memory>

#include "base/log/Logger.h"
#include "platform/whisper/EngineProcessor.h"
#include "ports/VoiceActivityModel.h"

struct whisper_vad_context;

namespace quillmere {

// The voice-activity model on whisper.cpp. The library ends the process when it is given a file of another kind, so
// nothing but the one file with this SHA-256 is ever handed to it.
class WhisperVoiceActivityModel final : public VoiceActivityModel {
 public:
  // sha256 is lower-case hexadecimal.
  WhisperVoiceActivityModel(QByteArray sha256, const Logging& logging,
                            EngineProcessor processor = EngineProcessor::current());
  ~WhisperVoiceActivityModel() override;

  Result<void, PlatformError> load(const QString& path) override;
  bool isLoaded() const override { return handle_ != nullptr; }
  std::optional<std::vector<VoiceActivitySegment>> segments(std::span<const float> samples16kHz,
                                                            const VoiceActivityParameters& parameters,
                                                            const std::atomic<bool>& stop) override;

 private:
  struct Free {
    void operator()(whisper_vad_context* handle) const;
  };

  QByteArray sha256_;
  Logger logger_;
  EngineProcessor processor_;
  std::unique_ptr<whisper_vad_context, Free> handle_;
};

}  // namespace quillmere
