#pragma once
#include <memory>

#include "audio/AudioConverter.h"
#include "audio/AudioFileConverter.h"
#include "audio/VADModelManager.h"
#include "audio/VADProcessingService.h"
#include "audio/VoiceActivityDetector.h"

namespace quillmere {

struct Foundation;

// From files to samples and back, and where the silence in them is. Main thread.
struct AudioParts {
  std::unique_ptr<AudioConverter> converter;
  std::unique_ptr<AudioFileConverter> fileConverter;
  std::unique_ptr<VADModelManager> vadModels;
  std::unique_ptr<VoiceActivityDetector> voiceActivityDetector;
  std::unique_ptr<VADProcessingService> silenceTrimming;
};

// What it takes outlives the result.
AudioParts makeAudioParts(Foundation& foundation);

}  // namespace quillmere
