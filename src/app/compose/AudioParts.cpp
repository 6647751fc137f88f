#include "app/compose/AudioParts.h"

#include "app/compose/Foundation.h"

namespace quillmere {

AudioParts makeAudioParts(Foundation& foundation) {
  const Logging& logging = foundation.logging;
  PlatformPorts& ports = foundation.ports;
  AudioParts a;
  a.converter =
      std::make_unique<AudioConverter>(*ports.mediaReaders, *ports.resamplers, *foundation.audioWorkers, logging);
  a.fileConverter = std::make_unique<AudioFileConverter>(*ports.mediaReaders, *ports.mediaEncoder,
                                                         *foundation.encodeWorkers, logging);
  a.vadModels = std::make_unique<VADModelManager>(foundation.paths.bundledModelFolders, logging);
  a.voiceActivityDetector = std::make_unique<VoiceActivityDetector>(*ports.voiceActivityModel, *a.vadModels, logging);
  VADProcessingService::Dependencies use{*a.voiceActivityDetector, *a.converter,      *a.fileConverter,
                                         *ports.mediaReaders,      *ports.wavWriters, *foundation.fileWorkers};
  use.errorReporting = foundation.appLogger.get();
  a.silenceTrimming = std::make_unique<VADProcessingService>(use, logging);
  return a;
}

}  // namespace quillmere
