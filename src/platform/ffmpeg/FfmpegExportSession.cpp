#include "platform/ffmpeg/FfmpegExportSession.h"

#include <algorithm>
#include <cerrno>

#include "platform/ffmpeg/AacTrack.h"
#include "platform/ffmpeg/FfmpegMediaReader.h"

namespace quillmere {

using namespace ffmpeg;

namespace {
constexpr qint64 framesPerRead = 16384;
constexpr int highestRate = 48000;
}  // namespace

MediaExportSession::Status FfmpegExportSession::run(const std::atomic<bool>& stop) {
  auto input = FfmpegInput::open(from_);
  if (!input) return fail(input.error());
  const AVCodecID codec = (*input)->stream().codecpar->codec_id;
  if (way_ == Way::packetsOnly && !M4aFile::canHold(codec))
    return fail({MediaError::Kind::unsupported, AVERROR_INVALIDDATA, QString::fromUtf8(avcodec_get_name(codec))});
  if (way_ == Way::packetsOnly || codec == AV_CODEC_ID_AAC) return copyPackets(**input, stop);
  return encode(std::move(input).value(), stop);
}

MediaExportSession::Status FfmpegExportSession::copyPackets(FfmpegInput& input, const std::atomic<bool>& stop) {
  const AVStream& stream = input.stream();
  auto file = M4aFile::create(to_, *stream.codecpar, stream.time_base);
  if (!file) return fail(mediaError(MediaError::Kind::writeFailed, file.error()));
  Owned<AVPacket> packet(av_packet_alloc());
  if (!packet) return fail(mediaError(MediaError::Kind::writeFailed, AVERROR(ENOMEM)));
  for (;;) {
    if (stop.load(std::memory_order_relaxed)) return Status::cancelled;
    int code = input.readPacket(*packet);
    if (code == AVERROR_EOF) break;
    if (code < 0) return fail(mediaError(MediaError::Kind::readFailed, code));
    code = (*file)->write(*packet);
    if (code < 0) return fail(mediaError(MediaError::Kind::writeFailed, code));
  }
  if (!(*file)->hasPackets()) return fail(mediaError(MediaError::Kind::readFailed, AVERROR_INVALIDDATA));
  const int code = (*file)->finish();
  return code < 0 ? fail(mediaError(MediaError::Kind::writeFailed, code)) : Status::completed;
}

MediaExportSession::Status FfmpegExportSession::encode(std::unique_ptr<FfmpegInput> input,
                                                       const std::atomic<bool>& stop) {
  auto reader = FfmpegMediaReader::open(std::move(input));
  if (!reader) return fail(reader.error());
  const AudioStreamFormat source = (*reader)->format();
  AacTrack::Settings settings;
  settings.sampleRate = std::min(int(source.sampleRate), highestRate);
  settings.channelCount = std::min(source.channelCount, 2);
  settings.coder = "fast";
  auto track = AacTrack::create(to_, settings);
  if (!track) return fail(mediaError(MediaError::Kind::writeFailed, track.error()));
  for (;;) {
    if (stop.load(std::memory_order_relaxed)) return Status::cancelled;
    const auto block = (*reader)->read(framesPerRead);
    if (!block) return fail(block.error());
    const int code = block->frameCount == 0 ? (*track)->finish() : (*track)->append(*block);
    if (code < 0) return fail(mediaError(MediaError::Kind::writeFailed, code));
    if (block->frameCount == 0) return Status::completed;
  }
}

MediaExportSession::Status FfmpegExportSession::fail(MediaError error) {
  error_ = std::move(error);
  return Status::failed;
}

}  // namespace quillmere
