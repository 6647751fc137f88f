#pragma once
#include <QString>
#include <atomic>
#include <memory>
#include <optional>

#include "base/Result.h"
#include "ports/AudioBlock.h"

namespace quillmere {

struct MediaError {
  enum class Kind {
    cannotOpen,    // missing, unreadable, a directory, or nothing that can be recognised as media
    noAudioTrack,  // media without sound
    unsupported,   // a format that is known but can't be decoded here
    readFailed,    // broken off in the middle
    incomplete,    // a WAV that ends, or can't be read, before the end that it states
    writeFailed,   // the target could not be written or encoded
    stopped        // the stop flag was set
  };
  Kind kind = Kind::readFailed;
  int code = 0;         // the platform's number
  QString description;  // a clear sentence
  bool operator==(const MediaError&) const = default;
};

// The decoded audio of one file, from its start to its end. One thread at a time, any thread. Blocks until data is
// there; callers check for a cancel between reads.
class MediaReader {
 public:
  // What the file says of its track before anything is decoded. Zero where it says nothing usable.
  struct TrackDescription {
    double sampleRate = 0;
    int channelCount = 0;
  };

  virtual ~MediaReader() = default;
  virtual TrackDescription trackDescription() const = 0;
  // The format that decoding starts with. Blocks carry their own, which may change in the middle of a file.
  virtual AudioStreamFormat format() const = 0;
  // Frames as the file states or suggests them. A hint: a file may hold fewer or more.
  virtual std::optional<qint64> nominalFrames() const = 0;
  // Whether moving pictures go with the sound. The cover of a record is none.
  virtual bool hasPicture() const { return false; }
  // At most maxFrames (> 0) frames; none at the end. After an error or the end every further call gives the end.
  virtual Result<AudioBlock, MediaError> read(qint64 maxFrames) = 0;
  // Goes on at this frame, or a little before it where the format has no such place. False where it can't; reading then
  // goes on as before.
  virtual bool seek(qint64 frame) {
    (void)frame;
    return false;
  }
};

// Opens local files, and nothing but local files, whatever their names or contents say. Any thread.
class MediaReaderFactory {
 public:
  enum class Output {
    native,              // as the decoder gives it
    signed16Interleaved  // 16-bit integers, interleaved, in the rate and channels that format() says throughout
  };

  virtual ~MediaReaderFactory() = default;
  virtual Result<std::unique_ptr<MediaReader>, MediaError> open(const QString& path, Output output) = 0;
  // Length in seconds; reads through the whole file where its own statement can't be trusted. The error is `incomplete`
  // for a WAV that states much more than it holds.
  virtual Result<double, MediaError> durationSeconds(const QString& path, const std::atomic<bool>& stop) = 0;
};

}  // namespace quillmere
