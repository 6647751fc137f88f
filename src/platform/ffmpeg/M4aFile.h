#pragma once
#include <QString>
#include <memory>

#include "platform/ffmpeg/FfmpegSupport.h"

namespace quillmere::ffmpeg {

// An M4A file being written, with one audio track and its index moved to the front at the end. One thread at a time.
class M4aFile {
 public:
  static bool canHold(AVCodecID codec);
  // Creates the file. The track is described by the parameters, whose packets come in `timeBase`.
  static Result<std::unique_ptr<M4aFile>, int> create(const QString& path, const AVCodecParameters& parameters,
                                                      AVRational timeBase);
  ~M4aFile();
  M4aFile(const M4aFile&) = delete;
  M4aFile& operator=(const M4aFile&) = delete;

  // 0 or the library's error. The packet is used up.
  int write(AVPacket& packet);
  int finish();
  bool hasPackets() const { return hasPackets_; }

 private:
  M4aFile() = default;

  AVFormatContext* context_ = nullptr;
  AVStream* stream_ = nullptr;
  AVRational timeBase_ = {};
  bool hasPackets_ = false;
};

}  // namespace quillmere::ffmpeg
