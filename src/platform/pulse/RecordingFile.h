#pragma once
#include <QString>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

#include "base/Result.h"
#include "domain/Errors.h"

struct sf_private_tag;

namespace quillmere {

// The growing WAV file of one recording and the thread that writes it: 16 kHz, one channel, 16-bit integers. The header
// is right after every block, the file is for its owner only. A file that was moved or removed with its folder
// meanwhile is made again under its name, with everything that was written. append() from one thread, the rest from the
// owner's. The callbacks come on the writing thread.
class RecordingFile {
 public:
  struct Callbacks {
    std::function<void(Result<void, PlatformError>)> opened;  // once
    std::function<void(PlatformError)> failed;  // once, when nothing more can be written; what was written is valid
    std::function<void()> completed;            // once, when the file is closed
  };
  RecordingFile(QString path, Callbacks callbacks);
  RecordingFile(const RecordingFile&) = delete;
  RecordingFile& operator=(const RecordingFile&) = delete;
  // Completes the file and waits for that.
  ~RecordingFile();

  // Never blocks on the disk. Ignored after complete().
  void append(std::span<const std::int16_t> samples);
  void complete();
  void completeAndWait();
  // Completes without leaving a file.
  void discard();

 private:
  void run();
  Result<void, PlatformError> open();
  Result<void, PlatformError> write(std::span<const std::int16_t> samples);
  Result<void, PlatformError> restorePlace();
  void close();

  const QString path_;
  Callbacks callbacks_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::int16_t> waiting_;  // guarded by mutex_
  bool isCompleting_ = false;          // guarded by mutex_
  std::atomic<bool> isDiscarded_ = false;

  // The writing thread only.
  sf_private_tag* file_ = nullptr;
  int descriptor_ = -1;
  std::int64_t framesSinceCheck_ = 0;

  std::thread thread_;
};

}  // namespace quillmere
