#pragma once
#include <QString>
#include <memory>
#include <optional>

#include "ports/MediaReader.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/avstring.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace quillmere::ffmpeg {

// Owners of the library's objects.
struct Free {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(SwrContext* context) const { swr_free(&context); }
  void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
};
template <typename T>
using Owned = std::unique_ptr<T, Free>;

// A dictionary of options; what a call doesn't know stays in it and is dropped.
class Options {
 public:
  Options() = default;
  ~Options() { av_dict_free(&dictionary_); }
  Options(const Options&) = delete;
  Options& operator=(const Options&) = delete;
  void set(const char* key, const char* value) { av_dict_set(&dictionary_, key, value, 0); }
  AVDictionary** out() { return &dictionary_; }

 private:
  AVDictionary* dictionary_ = nullptr;
};

// The library's sentence for one of its error numbers.
QString errorText(int code);
MediaError mediaError(MediaError::Kind kind, int code);

std::optional<AudioStreamFormat::SampleKind> sampleKind(AVSampleFormat format);
AVSampleFormat sampleFormat(const AudioStreamFormat& format);
// Nothing for what no stream of ours can be: unknown sample format, no channels or more than 64, absurd rates.
std::optional<AudioStreamFormat> streamFormat(AVSampleFormat format, int sampleRate, const AVChannelLayout& layout);
// The layout of the mask, else (unknown loudspeakers) the usual one of that many channels or the first so many places.
AVChannelLayout channelLayout(quint64 mask, int channelCount);

}  // namespace quillmere::ffmpeg
