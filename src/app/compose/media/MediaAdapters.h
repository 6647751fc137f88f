#pragma once
#include <memory>

#include "base/log/Logger.h"
#include "ports/AudioResampler.h"
#include "ports/MediaEncoder.h"
#include "ports/MediaReader.h"

namespace quillmere {

// The adapters of the large media libraries. They stand in a library of their own, loaded when the first file needs
// them: most commands never do, and loading it takes longer than most commands run.
struct MediaAdapters {
  std::shared_ptr<void> log;  // the others use it; goes last
  std::unique_ptr<MediaReaderFactory> readers;
  std::unique_ptr<AudioResamplerFactory> resamplers;
  std::unique_ptr<MediaEncoder> encoder;
};

// The one symbol of that library: fills `adapters`.
inline constexpr const char* makeMediaAdaptersSymbol = "quillmereMakeMediaAdapters";
using MakeMediaAdapters = void (*)(const Logging& logging, MediaAdapters& adapters);

}  // namespace quillmere
