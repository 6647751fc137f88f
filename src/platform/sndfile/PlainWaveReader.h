#pragma once
#include <memory>
#include <vector>

#include "ports/MediaReader.h"

struct sf_private_tag;

namespace quillmere {

// Reads a WAV file of 16-bit mono samples at 16 kHz. Threads and errors: see the port.
class PlainWaveReader final : public MediaReader {
 public:
  // Null for any other file, also for one that can't be opened or is empty.
  static std::unique_ptr<PlainWaveReader> open(const QString& path);
  ~PlainWaveReader() override;

  TrackDescription trackDescription() const override { return {sampleRate, 1}; }
  AudioStreamFormat format() const override {
    return {sampleRate, 1, AudioStreamFormat::SampleKind::signed16, false, 0};
  }
  std::optional<qint64> nominalFrames() const override { return frames_; }
  Result<AudioBlock, MediaError> read(qint64 maxFrames) override;
  bool seek(qint64 frame) override;

  // `incomplete` where the file states half a second more than it holds; read() gives what is there all the same.
  Result<double, MediaError> durationSeconds() const;

 private:
  static constexpr double sampleRate = 16000;
  PlainWaveReader(sf_private_tag* file, qint64 frames, qint64 statedFrames)
      : file_(file), frames_(frames), statedFrames_(statedFrames) {}

  sf_private_tag* file_;
  qint64 frames_;
  qint64 statedFrames_;
  qint64 position_ = 0;
  std::vector<std::int16_t> samples_;
  const std::byte* plane_ = nullptr;
};

}  // namespace quillmere
