#include "platform/ffmpeg/FfmpegSupport.h"

#include <bit>

namespace quillmere::ffmpeg {
namespace {
constexpr int largestChannelCount = 64;
constexpr int lowestRate = 1000;
constexpr int highestRate = 6'144'000;
}  // namespace

QString errorText(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return QString::fromUtf8(text);
}

MediaError mediaError(MediaError::Kind kind, int code) {
  return {kind, code, errorText(code)};
}

std::optional<AudioStreamFormat::SampleKind> sampleKind(AVSampleFormat format) {
  using enum AudioStreamFormat::SampleKind;
  switch (av_get_packed_sample_fmt(format)) {
    case AV_SAMPLE_FMT_U8:
      return unsigned8;
    case AV_SAMPLE_FMT_S16:
      return signed16;
    case AV_SAMPLE_FMT_S32:
      return signed32;
    case AV_SAMPLE_FMT_S64:
      return signed64;
    case AV_SAMPLE_FMT_FLT:
      return float32;
    case AV_SAMPLE_FMT_DBL:
      return float64;
    default:
      return std::nullopt;
  }
}

AVSampleFormat sampleFormat(const AudioStreamFormat& format) {
  using enum AudioStreamFormat::SampleKind;
  AVSampleFormat packed = AV_SAMPLE_FMT_NONE;
  switch (format.kind) {
    case unsigned8:
      packed = AV_SAMPLE_FMT_U8;
      break;
    case signed16:
      packed = AV_SAMPLE_FMT_S16;
      break;
    case signed32:
      packed = AV_SAMPLE_FMT_S32;
      break;
    case signed64:
      packed = AV_SAMPLE_FMT_S64;
      break;
    case float32:
      packed = AV_SAMPLE_FMT_FLT;
      break;
    case float64:
      packed = AV_SAMPLE_FMT_DBL;
      break;
  }
  return format.isPlanar ? av_get_planar_sample_fmt(packed) : packed;
}

std::optional<AudioStreamFormat> streamFormat(AVSampleFormat format, int sampleRate, const AVChannelLayout& layout) {
  const auto kind = sampleKind(format);
  if (!kind || sampleRate < lowestRate || sampleRate > highestRate) return std::nullopt;
  if (layout.nb_channels < 1 || layout.nb_channels > largestChannelCount) return std::nullopt;
  AudioStreamFormat out;
  out.sampleRate = sampleRate;
  out.channelCount = layout.nb_channels;
  out.kind = *kind;
  out.isPlanar = av_sample_fmt_is_planar(format) != 0;
  out.channelMask = layout.order == AV_CHANNEL_ORDER_NATIVE ? layout.u.mask : 0;
  return out;
}

AVChannelLayout channelLayout(quint64 mask, int channelCount) {
  AVChannelLayout layout = {};
  if (mask != 0 && std::popcount(mask) == channelCount && av_channel_layout_from_mask(&layout, mask) == 0)
    return layout;
  av_channel_layout_default(&layout, channelCount);
  if (layout.order == AV_CHANNEL_ORDER_NATIVE) return layout;
  const quint64 places = channelCount >= 64 ? ~0ULL : (1ULL << channelCount) - 1;
  av_channel_layout_from_mask(&layout, places);
  return layout;
}

}  // namespace quillmere::ffmpeg
