#pragma once

namespace quillmere {

// What a conversion was made of: the source's format and the bit rate asked for.
struct AudioFileFormat {
  double sampleRate = 0;  // hertz
  int channelCount = 0;
  int bitRate = 0;  // bits per second
  bool operator==(const AudioFileFormat&) const = default;
};

struct ExtractedAudio {
  double durationSeconds = 0;
  double sampleRate = 0;  // hertz
  int channelCount = 0;
  bool operator==(const ExtractedAudio&) const = default;
};

}  // namespace quillmere
