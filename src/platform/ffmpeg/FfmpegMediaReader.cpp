#include "platform/ffmpeg/FfmpegMediaReader.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <thread>

namespace quillmere {

using namespace ffmpeg;

namespace {
constexpr int mostDecoderThreads = 4;

bool isFatal(int code) {
  return code == AVERROR(ENOMEM);
}
}  // namespace

Result<std::unique_ptr<MediaReader>, MediaError> FfmpegMediaReader::open(const QString& path) {
  TRY(auto input, FfmpegInput::open(path));
  return open(std::move(input));
}

Result<std::unique_ptr<MediaReader>, MediaError> FfmpegMediaReader::open(std::unique_ptr<FfmpegInput> input) {
  using Kind = MediaError::Kind;
  std::unique_ptr<FfmpegMediaReader> reader(new FfmpegMediaReader);
  reader->input_ = std::move(input);
  const AVStream& stream = reader->input_->stream();
  const AVCodecParameters& parameters = *stream.codecpar;
  const QString codecName = QString::fromUtf8(avcodec_get_name(parameters.codec_id));

  reader->decoder_.reset(avcodec_alloc_context3(&reader->input_->codec()));
  reader->packet_.reset(av_packet_alloc());
  reader->frame_.reset(av_frame_alloc());
  if (!reader->decoder_ || !reader->packet_ || !reader->frame_)
    return Failed{mediaError(Kind::cannotOpen, AVERROR(ENOMEM))};
  AVCodecContext& decoder = *reader->decoder_;
  int code = avcodec_parameters_to_context(&decoder, &parameters);
  if (code < 0) return Failed{mediaError(Kind::cannotOpen, code)};
  decoder.pkt_timebase = stream.time_base;
  decoder.thread_count = std::clamp(int(std::thread::hardware_concurrency()), 1, mostDecoderThreads);
  code = avcodec_open2(&decoder, &reader->input_->codec(), nullptr);
  if (code < 0)
    return Failed{MediaError{Kind::unsupported, code, QStringLiteral("%1 (%2)").arg(codecName, errorText(code))}};

  const auto format = streamFormat(decoder.sample_fmt, decoder.sample_rate, decoder.ch_layout);
  if (!format) {
    return Failed{MediaError{
        Kind::unsupported, AVERROR_PATCHWELCOME,
        QStringLiteral("%1, %2 Hz, %3 ch")
            .arg(codecName, QString::number(decoder.sample_rate), QString::number(decoder.ch_layout.nb_channels))}};
  }
  reader->format_ = *format;
  reader->description_ = {double(parameters.sample_rate), parameters.ch_layout.nb_channels};
  return std::unique_ptr<MediaReader>(std::move(reader));
}

std::optional<qint64> FfmpegMediaReader::nominalFrames() const {
  const std::optional<double> seconds = input_->statedSeconds();
  if (!seconds) return std::nullopt;
  // A length that no file can have says nothing.
  const double frames = *seconds * format_.sampleRate;
  if (!(frames >= 1) || frames > 1e15) return std::nullopt;
  return std::llround(frames);
}

Result<AudioBlock, MediaError> FfmpegMediaReader::read(qint64 maxFrames) {
  if (isAtEnd_ || maxFrames <= 0) return AudioBlock{};
  while (!hasFrame_) {
    const int code = decodeNext();
    if (code == AVERROR_EOF) {
      isAtEnd_ = true;
      if (!hasGivenFrames_ && lastDecodeError_ < 0) return fail(lastDecodeError_);
      return AudioBlock{};
    }
    if (code < 0) return fail(code);
    if (frame_->nb_samples <= 0) continue;
    const auto format = streamFormat(AVSampleFormat(frame_->format), frame_->sample_rate, frame_->ch_layout);
    if (!format) continue;
    frameFormat_ = *format;
    frameOffset_ = 0;
    hasFrame_ = hasGivenFrames_ = true;
  }

  const qint64 count = std::min<qint64>(maxFrames, frame_->nb_samples - frameOffset_);
  const int planeCount = frameFormat_.isPlanar ? frameFormat_.channelCount : 1;
  const qint64 skip =
      frameOffset_ * bytesPerSample(frameFormat_.kind) * (frameFormat_.isPlanar ? 1 : frameFormat_.channelCount);
  planes_.resize(size_t(planeCount));
  for (int i = 0; i < planeCount; ++i)
    planes_[size_t(i)] = reinterpret_cast<const std::byte*>(frame_->extended_data[i]) + skip;
  frameOffset_ += count;
  if (frameOffset_ == frame_->nb_samples) hasFrame_ = false;  // its memory stays until the next call
  return AudioBlock{frameFormat_, planes_, count};
}

bool FfmpegMediaReader::seek(qint64 frame) {
  if (frame < 0 || !(format_.sampleRate > 0) || !input_->seek(double(frame) / format_.sampleRate)) return false;
  avcodec_flush_buffers(decoder_.get());
  hasFrame_ = isDraining_ = isAtEnd_ = false;
  return true;
}

int FfmpegMediaReader::decodeNext() {
  for (;;) {
    int code = avcodec_receive_frame(decoder_.get(), frame_.get());
    if (code == 0 || code == AVERROR_EOF) return code;
    if (code != AVERROR(EAGAIN)) {
      if (isFatal(code) || isDraining_) return isFatal(code) ? code : AVERROR_EOF;
      lastDecodeError_ = code;
    }
    code = input_->readPacket(*packet_);
    if (code == AVERROR_EOF) {
      isDraining_ = true;
      code = avcodec_send_packet(decoder_.get(), nullptr);
      if (code < 0 && code != AVERROR_EOF) return code;
      continue;
    }
    if (code < 0) return code;
    code = avcodec_send_packet(decoder_.get(), packet_.get());
    if (isFatal(code)) return code;
    if (code < 0 && code != AVERROR(EAGAIN)) lastDecodeError_ = code;
  }
}

Result<AudioBlock, MediaError> FfmpegMediaReader::fail(int code) {
  isAtEnd_ = true;
  using Kind = MediaError::Kind;
  return Failed{mediaError(input_->isWave() && hasGivenFrames_ ? Kind::incomplete : Kind::readFailed, code)};
}

}  // namespace quillmere
