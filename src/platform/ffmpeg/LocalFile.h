#pragma once
#include <QString>
#include <memory>

#include "platform/ffmpeg/FfmpegSupport.h"

namespace quillmere::ffmpeg {

// A regular file of this machine as FFmpeg's input. The name never reaches FFmpeg as an address, so that no name is
// taken for a protocol. One thread at a time.
class LocalFile {
 public:
  static Result<std::unique_ptr<LocalFile>, MediaError> open(const QString& path);
  ~LocalFile();
  LocalFile(const LocalFile&) = delete;
  LocalFile& operator=(const LocalFile&) = delete;

  AVIOContext* io() const { return io_; }
  qint64 sizeBytes() const { return sizeBytes_; }

 private:
  LocalFile(int descriptor, qint64 sizeBytes) : descriptor_(descriptor), sizeBytes_(sizeBytes) {}
  static int read(void* self, uint8_t* buffer, int size);
  static int64_t seek(void* self, int64_t offset, int whence);

  int descriptor_;
  qint64 sizeBytes_;
  AVIOContext* io_ = nullptr;
};

}  // namespace quillmere::ffmpeg
