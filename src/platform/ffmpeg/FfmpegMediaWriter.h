#pragma once
#include <memory>

#include "platform/ffmpeg/AacTrack.h"
#include "ports/MediaEncoder.h"

namespace quillmere {

class FfmpegMediaWriter final : public MediaWriter {
 public:
  FfmpegMediaWriter(QString path, AacEncoderSettings settings) : path_(std::move(path)), settings_(settings) {}

  // Creates the file; a failure to do so shows itself here, before anything is decoded.
  Result<void, MediaError> start();
  Result<void, MediaError> append(const AudioBlock& block) override;
  Result<void, MediaError> finish() override;

 private:
  Result<void, MediaError> settled(int code) const;
  QString path_;
  AacEncoderSettings settings_;
  std::unique_ptr<ffmpeg::AacTrack> track_;
};

}  // namespace quillmere
