#pragma once
#include "platform/ffmpeg/FfmpegSupport.h"

namespace quillmere::ffmpeg {

// Rate, channels and sample format changed in one pass. Mono output averages two channels and mixes more by their
// places with weights whose sum is 1 (a plain average where the places are unknown). The length is that of the source
// to a frame; a source shorter than the filter (some 5 ms) whose rate changes comes out empty. One thread at a time.
class SwrPipe {
 public:
  struct Target {
    AVSampleFormat format = AV_SAMPLE_FMT_FLT;
    int sampleRate = 0;
    AVChannelLayout layout = {};
  };

  static Result<SwrPipe, int> create(const AudioStreamFormat& source, const Target& target);

  // The most frames that a call of convert() with so many can give.
  int outputBound(int sourceFrames) const;
  // Frames written, or the library's error. Without input: what was held back, at the end.
  int convert(uint8_t* const* output, int room, const std::byte* const* planes, int frames);

 private:
  explicit SwrPipe(Owned<SwrContext> context) : context_(std::move(context)) {}
  Owned<SwrContext> context_;
};

}  // namespace quillmere::ffmpeg
