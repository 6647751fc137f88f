#pragma once
#include <QString>
#include <memory>
#include <optional>
#include <vector>

#include "platform/ffmpeg/M4aFile.h"
#include "platform/ffmpeg/SwrPipe.h"
#include "ports/AudioBlock.h"

namespace quillmere::ffmpeg {

// AAC encoded from blocks of any one format into an M4A file. One thread at a time.
class AacTrack {
 public:
  struct Settings {
    int sampleRate = 0;
    quint64 channelMask = 0;
    int channelCount = 0;
    int bitRate = 0;  // 0: the encoder's own choice
    const char* coder = "twoloop";
  };

  // Rates that AAC doesn't know go to the nearest above (or the highest), channels it doesn't know to stereo.
  static Result<std::unique_ptr<AacTrack>, int> create(const QString& path, const Settings& settings);

  int append(const AudioBlock& block);
  int finish();

 private:
  AacTrack() = default;
  int openEncoder(const Settings& settings, const AVChannelLayout& layout);
  int switchTo(const AudioStreamFormat& format);
  int convert(const std::byte* const* planes, int frames);
  int encodeWhole(bool isLast);
  int encode(const AVFrame* frame);

  Owned<AVCodecContext> encoder_;
  std::unique_ptr<M4aFile> file_;
  Owned<AVAudioFifo> fifo_;
  Owned<AVFrame> frame_;
  Owned<AVPacket> packet_;
  std::optional<SwrPipe> pipe_;
  AudioStreamFormat pipeFormat_;
  std::vector<std::vector<float>> converted_;  // a plane a channel
  std::vector<uint8_t*> convertedPlanes_;
  qint64 nextPts_ = 0;
};

int nearestAacRate(int sampleRate);

}  // namespace quillmere::ffmpeg
