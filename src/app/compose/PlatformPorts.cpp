#include "app/compose/PlatformPorts.h"

#include "audio/VADModelManager.h"
#include "platform/qt/QtHttpDownloader.h"
#include "platform/qt/QtNetworkStatus.h"
#include "platform/sndfile/SndfileWavWriterFactory.h"
#include "platform/whisper/WhisperSpeechEngine.h"
#include "platform/whisper/WhisperVoiceActivityModel.h"

namespace quillmere {

PlatformPorts makePlatformPorts(const Paths& paths, const Logging& logging) {
  PlatformPorts p;
  p.network = std::make_unique<QtNetworkStatus>();
  p.media = std::make_unique<LazyMedia>(paths.mediaLibraries, logging);
  p.mediaReaders = std::make_unique<LazyMediaReaderFactory>(*p.media);
  p.resamplers = std::make_unique<LazyAudioResamplerFactory>(*p.media);
  p.mediaEncoder = std::make_unique<LazyMediaEncoder>(*p.media);
  p.wavWriters = std::make_unique<SndfileWavWriterFactory>();
  p.speechEngine = std::make_unique<WhisperSpeechEngine>(logging);
  p.voiceActivityModel = std::make_unique<WhisperVoiceActivityModel>(VADModelManager::sha256(), logging);
  p.downloader = std::make_unique<QtHttpDownloader>();
  return p;
}

}  // namespace quillmere
