#include "platform/ffmpeg/AacTrack.h"

#include <algorithm>
#include <cerrno>

namespace quillmere::ffmpeg {
namespace {
constexpr int aacRates[] = {7350, 8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000, 64000, 88200, 96000};
}

int nearestAacRate(int sampleRate) {
  const auto* found = std::lower_bound(std::begin(aacRates), std::end(aacRates), sampleRate);
  return found == std::end(aacRates) ? *std::prev(found) : *found;
}

Result<std::unique_ptr<AacTrack>, int> AacTrack::create(const QString& path, const Settings& settings) {
  std::unique_ptr<AacTrack> track(new AacTrack);
  AVChannelLayout stereo = {};
  av_channel_layout_default(&stereo, 2);
  int code = track->openEncoder(settings, channelLayout(settings.channelMask, settings.channelCount));
  if (code < 0 && settings.channelCount > 2) code = track->openEncoder(settings, stereo);
  if (code < 0) return Failed{code};

  Owned<AVCodecContext>& encoder = track->encoder_;
  const int channelCount = encoder->ch_layout.nb_channels;
  track->fifo_.reset(av_audio_fifo_alloc(encoder->sample_fmt, channelCount, encoder->frame_size * 2));
  track->frame_.reset(av_frame_alloc());
  track->packet_.reset(av_packet_alloc());
  if (!track->fifo_ || !track->frame_ || !track->packet_) return Failed{AVERROR(ENOMEM)};
  AVFrame& frame = *track->frame_;
  frame.format = encoder->sample_fmt;
  frame.sample_rate = encoder->sample_rate;
  frame.nb_samples = encoder->frame_size;
  code = av_channel_layout_copy(&frame.ch_layout, &encoder->ch_layout);
  if (code >= 0) code = av_frame_get_buffer(&frame, 0);
  if (code < 0) return Failed{code};
  track->converted_.resize(size_t(channelCount));
  track->convertedPlanes_.resize(size_t(channelCount));

  AVCodecParameters* parameters = avcodec_parameters_alloc();
  code = parameters ? avcodec_parameters_from_context(parameters, encoder.get()) : AVERROR(ENOMEM);
  if (code >= 0) {
    auto file = M4aFile::create(path, *parameters, encoder->time_base);
    if (file)
      track->file_ = std::move(file).value();
    else
      code = file.error();
  }
  avcodec_parameters_free(&parameters);
  if (code < 0) return Failed{code};
  return track;
}

int AacTrack::openEncoder(const Settings& settings, const AVChannelLayout& layout) {
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
  if (!codec) return AVERROR_ENCODER_NOT_FOUND;
  encoder_.reset(avcodec_alloc_context3(codec));
  if (!encoder_) return AVERROR(ENOMEM);
  encoder_->sample_rate = nearestAacRate(settings.sampleRate);
  encoder_->sample_fmt = AV_SAMPLE_FMT_FLTP;
  encoder_->time_base = {1, encoder_->sample_rate};
  encoder_->bit_rate = settings.bitRate;
  encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  if (const int code = av_channel_layout_copy(&encoder_->ch_layout, &layout); code < 0) return code;
  Options options;
  options.set("aac_coder", settings.coder);
  return avcodec_open2(encoder_.get(), codec, options.out());
}

int AacTrack::append(const AudioBlock& block) {
  if (!pipe_ || block.format != pipeFormat_)
    if (const int code = switchTo(block.format); code < 0) return code;
  if (const int code = convert(block.planes.data(), int(block.frameCount)); code < 0) return code;
  return encodeWhole(false);
}

int AacTrack::finish() {
  if (pipe_)
    if (const int code = convert(nullptr, 0); code < 0) return code;
  if (const int code = encodeWhole(true); code < 0) return code;
  if (nextPts_ == 0) return AVERROR_INVALIDDATA;  // nothing to keep
  if (const int code = encode(nullptr); code < 0) return code;
  return file_->finish();
}

int AacTrack::switchTo(const AudioStreamFormat& format) {
  if (pipe_)
    if (const int code = convert(nullptr, 0); code < 0) return code;
  auto pipe = SwrPipe::create(format, {AV_SAMPLE_FMT_FLTP, encoder_->sample_rate, encoder_->ch_layout});
  if (!pipe) return pipe.error();
  pipe_ = std::move(pipe).value();
  pipeFormat_ = format;
  return 0;
}

int AacTrack::convert(const std::byte* const* planes, int frames) {
  const int bound = pipe_->outputBound(frames);
  if (bound == 0) return 0;
  for (size_t i = 0; i < converted_.size(); ++i) {
    if (converted_[i].size() < size_t(bound)) converted_[i].resize(size_t(bound));
    convertedPlanes_[i] = reinterpret_cast<uint8_t*>(converted_[i].data());
  }
  const int written = pipe_->convert(convertedPlanes_.data(), bound, planes, frames);
  if (written <= 0) return written;
  return std::min(0, av_audio_fifo_write(fifo_.get(), reinterpret_cast<void**>(convertedPlanes_.data()), written));
}

int AacTrack::encodeWhole(bool isLast) {
  for (;;) {
    const int waiting = av_audio_fifo_size(fifo_.get());
    if (waiting == 0 || (waiting < encoder_->frame_size && !isLast)) return 0;
    if (const int code = av_frame_make_writable(frame_.get()); code < 0) return code;
    const int count = std::min(waiting, encoder_->frame_size);
    frame_->nb_samples = count;
    if (const int code = av_audio_fifo_read(fifo_.get(), reinterpret_cast<void**>(frame_->extended_data), count);
        code < 0)
      return code;
    frame_->pts = nextPts_;
    nextPts_ += count;
    if (const int code = encode(frame_.get()); code < 0) return code;
    frame_->nb_samples = encoder_->frame_size;
  }
}

int AacTrack::encode(const AVFrame* frame) {
  int code = avcodec_send_frame(encoder_.get(), frame);
  if (code < 0) return code;
  for (;;) {
    code = avcodec_receive_packet(encoder_.get(), packet_.get());
    if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) return 0;
    if (code < 0) return code;
    if (code = file_->write(*packet_); code < 0) return code;
  }
}

}  // namespace quillmere::ffmpeg
