#pragma once
#include <memory>

#include "app/compose/Paths.h"
#include "app/compose/media/LazyMedia.h"
#include "ports/AudioResampler.h"
#include "ports/HttpDownloader.h"
#include "ports/MediaEncoder.h"
#include "ports/MediaReader.h"
#include "ports/NetworkStatus.h"
#include "ports/SpeechEngine.h"
#include "ports/VoiceActivityModel.h"
#include "ports/WavWriter.h"

namespace quillmere {

// The adapters that need neither display nor sound server: every program has them.
struct PlatformPorts {
  std::unique_ptr<NetworkStatus> network;
  std::unique_ptr<LazyMedia> media;
  std::unique_ptr<MediaReaderFactory> mediaReaders;
  std::unique_ptr<AudioResamplerFactory> resamplers;
  std::unique_ptr<MediaEncoder> mediaEncoder;
  std::unique_ptr<WavWriterFactory> wavWriters;
  std::unique_ptr<SpeechEngine> speechEngine;
  std::unique_ptr<VoiceActivityModel> voiceActivityModel;  // loaded by the first recording that needs it
  std::unique_ptr<HttpDownloader> downloader;
};

// Main thread.
PlatformPorts makePlatformPorts(const Paths& paths, const Logging& logging);

}  // namespace quillmere
