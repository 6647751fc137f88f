#include "app/compose/media/MediaAdapters.h"
#include "platform/ffmpeg/FfmpegAudioResamplerFactory.h"
#include "platform/ffmpeg/FfmpegLog.h"
#include "platform/ffmpeg/FfmpegMediaEncoder.h"
#include "platform/ffmpeg/FfmpegMediaReaderFactory.h"

extern "C" __attribute__((visibility("default"))) void quillmereMakeMediaAdapters(const quillmere::Logging& logging,
                                                                                  quillmere::MediaAdapters& adapters) {
  const auto log = std::make_shared<quillmere::FfmpegLog>(logging);
  adapters.log = log;
  adapters.readers = std::make_unique<quillmere::FfmpegMediaReaderFactory>(*log);
  adapters.resamplers = std::make_unique<quillmere::FfmpegAudioResamplerFactory>(*log);
  adapters.encoder = std::make_unique<quillmere::FfmpegMediaEncoder>(*log);
}
