#pragma once
#include <QFileInfo>
#include <optional>

#include "ports/AudioResampler.h"
#include "support/FakeMediaReader.h"

namespace quillmere {

// Every existing file is 16 kHz mono floats of one length, unless the test says that opening fails.
class PlainSamples final : public MediaReaderFactory, public AudioResamplerFactory {
 public:
  qint64 frames = 16000;
  std::optional<MediaError::Kind> openError;
  std::optional<MediaError::Kind> readError;

  Result<std::unique_ptr<MediaReader>, MediaError> open(const QString& path, Output output) override {
    if (openError) return Failed{MediaError{*openError, 0, "cannot open"}};
    if (!QFileInfo::exists(path)) return Failed{MediaError{MediaError::Kind::cannotOpen, 2, "no file"}};
    FakeMediaFile file;
    file.format = {16000, 1, AudioStreamFormat::SampleKind::float32, false, 0};
    file.frames = frames;
    file.blockFrames = frames;
    if (readError) file.readErrorAt = 0;
    return std::unique_ptr<MediaReader>(std::make_unique<FakeMediaReader>(file, output));
  }
  Result<double, MediaError> durationSeconds(const QString&, const std::atomic<bool>&) override {
    return static_cast<double>(frames) / 16000.0;
  }
  Result<std::unique_ptr<AudioResampler>, PlatformError> create(const AudioStreamFormat&, double) override {
    return Failed{PlatformError{"test", 1, "nothing to resample"}};
  }
};

}  // namespace quillmere
