#include "platform/ffmpeg/FfmpegMediaWriter.h"

#include <cmath>

namespace quillmere {

using namespace ffmpeg;

Result<void, MediaError> FfmpegMediaWriter::start() {
  AacTrack::Settings settings;
  settings.sampleRate = int(std::lround(settings_.sampleRate));
  settings.channelCount = settings_.channelCount;
  settings.bitRate = settings_.bitRate;
  settings.coder = "twoloop";  // the slower and better of the encoder's ways
  auto track = AacTrack::create(path_, settings);
  if (!track) return settled(track.error());
  track_ = std::move(track).value();
  return {};
}

Result<void, MediaError> FfmpegMediaWriter::append(const AudioBlock& block) {
  return settled(track_->append(block));
}

Result<void, MediaError> FfmpegMediaWriter::finish() {
  return settled(track_->finish());
}

Result<void, MediaError> FfmpegMediaWriter::settled(int code) const {
  if (code < 0) return Failed{mediaError(MediaError::Kind::writeFailed, code)};
  return {};
}

}  // namespace quillmere
