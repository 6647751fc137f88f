#include "platform/ffmpeg/FfmpegInput.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cerrno>

namespace quillmere::ffmpeg {
namespace {

// Containers whose content is the names of other files or of places in the network, or a script.
constexpr const char* refusedContainers[] = {"hls",    "concat", "dash",   "imf",       "webm_dash_manifest", "sdp",
                                             "rtsp",   "rtp",    "image2", "avisynth",  "vapoursynth",        "lavfi",
                                             "vobsub", "sbg",    "tty",    "ffmetadata"};

// Programs that write a WAV into a pipe state some length in bytes about as large as this.
constexpr double leastUnknownLength = 0x7fff'0000;

MediaError incomplete() {
  return {MediaError::Kind::incomplete, AVERROR_INVALIDDATA, QStringLiteral("The file holds less than it states")};
}

int refuseToOpen(AVFormatContext*, AVIOContext** io, const char*, int, AVDictionary**) {
  *io = nullptr;
  return AVERROR(EPERM);
}

// The length of the samples as the header of a RIFF file states it, 0 where it doesn't. The library tells the length
// that is there instead where a file was cut. Leaves the place in the file as it was.
qint64 statedSoundBytes(AVIOContext* io) {
  const qint64 place = avio_tell(io);
  qint64 stated = 0;
  avio_seek(io, 12, SEEK_SET);
  for (int chunks = 0; chunks < 100 && avio_feof(io) == 0; ++chunks) {
    const unsigned tag = avio_rl32(io);
    const qint64 size = avio_rl32(io);
    if (tag == MKTAG('d', 'a', 't', 'a')) {
      stated = size;
      break;
    }
    avio_skip(io, size + size % 2);
  }
  avio_seek(io, place, SEEK_SET);
  return stated;
}

bool isRefused(const AVInputFormat& container) {
  return std::any_of(std::begin(refusedContainers), std::end(refusedContainers),
                     [&](const char* name) { return av_match_name(name, container.name) > 0; });
}

}  // namespace

Result<std::unique_ptr<FfmpegInput>, MediaError> FfmpegInput::open(const QString& path) {
  using Kind = MediaError::Kind;
  std::unique_ptr<FfmpegInput> input(new FfmpegInput);
  TRY(input->file_, LocalFile::open(path));

  // Only the last part of the name, as a hint at what the content is.
  const QByteArray name = QFile::encodeName(QFileInfo(path).fileName());
  const AVInputFormat* container = nullptr;
  int code = av_probe_input_buffer2(input->file_->io(), &container, name.constData(), nullptr, 0, 0);
  if (code < 0) return Failed{mediaError(Kind::cannotOpen, code)};
  if (isRefused(*container))
    return Failed{
        MediaError{Kind::cannotOpen, AVERROR_INVALIDDATA,
                   QStringLiteral("The file only refers to other files (%1)").arg(QString::fromUtf8(container->name))}};

  AVFormatContext* context = avformat_alloc_context();
  if (!context) return Failed{mediaError(Kind::cannotOpen, AVERROR(ENOMEM))};
  context->pb = input->file_->io();
  context->io_open = &refuseToOpen;
  Options options;
  options.set("protocol_whitelist", "none");
  code = avformat_open_input(&context, name.constData(), container, options.out());  // frees the context on failure
  if (code < 0) return Failed{mediaError(Kind::cannotOpen, code)};
  input->format_.reset(context);
  input->soundStart_ = avio_tell(context->pb);  // where the header ends; what follows reads ahead
  if (input->isWave()) input->statedSoundBytes_ = statedSoundBytes(context->pb);

  code = avformat_find_stream_info(context, nullptr);
  if (code < 0) return Failed{mediaError(Kind::cannotOpen, code)};
  const int index = av_find_best_stream(context, AVMEDIA_TYPE_AUDIO, -1, -1, &input->codec_, 0);
  if (index == AVERROR_DECODER_NOT_FOUND) {
    for (unsigned i = 0; i < context->nb_streams; ++i)
      if (context->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
        return Failed{MediaError{Kind::unsupported, index,
                                 QString::fromUtf8(avcodec_get_name(context->streams[i]->codecpar->codec_id))}};
  }
  if (index < 0) return Failed{MediaError{Kind::noAudioTrack, index, QStringLiteral("No audio track")}};
  input->stream_ = context->streams[index];
  for (unsigned i = 0; i < context->nb_streams; ++i)
    if (int(i) != index) context->streams[i]->discard = AVDISCARD_ALL;
  return input;
}

bool FfmpegInput::hasPicture() const {
  for (unsigned i = 0; i < format_->nb_streams; ++i) {
    const AVStream& stream = *format_->streams[i];
    const bool isStill = (stream.disposition & (AV_DISPOSITION_ATTACHED_PIC | AV_DISPOSITION_TIMED_THUMBNAILS)) != 0;
    if (stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !isStill) return true;
  }
  return false;
}

int FfmpegInput::readPacket(AVPacket& packet) {
  for (;;) {
    av_packet_unref(&packet);
    const int code = av_read_frame(format_.get(), &packet);
    if (code == AVERROR(EAGAIN)) continue;
    // Some demuxers take an unreadable disk for the end.
    if (code == AVERROR_EOF && format_->pb->error < 0) return format_->pb->error;
    if (code < 0) return code;
    if (packet.stream_index == stream_->index) return 0;
  }
}

bool FfmpegInput::seek(double seconds) {
  const qint64 start = stream_->start_time == AV_NOPTS_VALUE ? 0 : stream_->start_time;
  const auto time = start + qint64(seconds / av_q2d(stream_->time_base));
  return av_seek_frame(format_.get(), stream_->index, time, AVSEEK_FLAG_BACKWARD) >= 0;
}

std::optional<double> FfmpegInput::statedSeconds() const {
  if (stream_->duration != AV_NOPTS_VALUE && stream_->duration > 0)
    return double(stream_->duration) * av_q2d(stream_->time_base);
  if (format_->duration != AV_NOPTS_VALUE && format_->duration > 0) return double(format_->duration) / AV_TIME_BASE;
  return std::nullopt;
}

bool FfmpegInput::isWave() const {
  return av_match_name("wav", format_->iformat->name) > 0;
}

bool FfmpegInput::isStatementReliable() const {
  if (!statedSeconds() || format_->duration_estimation_method == AVFMT_DURATION_FROM_BITRATE) return false;
  const auto is = [this](const char* name) { return av_match_name(name, format_->iformat->name) > 0; };
  return !is("mp3") && !is("wav") && !is("w64") && !is("aiff");
}

// A video may run on after its sound, so the longer of the two counts where the file tells.
Result<double, MediaError> FfmpegInput::measuredSeconds(const std::atomic<bool>& stop) {
  if (isStatementReliable()) {
    const double whole = format_->duration > 0 ? double(format_->duration) / AV_TIME_BASE : 0;
    return std::max(whole, *statedSeconds());
  }
  const AVCodecParameters& parameters = *stream_->codecpar;
  const int bits = av_get_exact_bits_per_sample(parameters.codec_id) * parameters.ch_layout.nb_channels;
  if (bits > 0 && parameters.sample_rate > 0) {
    const qint64 soundBytes = std::max<qint64>(0, file_->sizeBytes() - soundStart_);
    const double present = double(soundBytes) * 8 / bits / parameters.sample_rate;
    const double stated = statedSeconds().value_or(present);
    const double missing = double(statedSoundBytes_ - soundBytes) * 8 / bits / parameters.sample_rate;
    if (double(statedSoundBytes_) < leastUnknownLength && missing > 0.5) return Failed{incomplete()};
    if (format_->duration_estimation_method != AVFMT_DURATION_FROM_BITRATE && stated <= present + 1) return stated;
  }
  Owned<AVPacket> packet(av_packet_alloc());
  if (!packet) return Failed{mediaError(MediaError::Kind::readFailed, AVERROR(ENOMEM))};
  qint64 ticks = 0;
  for (;;) {
    if (stop.load(std::memory_order_relaxed)) return Failed{MediaError{MediaError::Kind::stopped, 0, {}}};
    const int code = readPacket(*packet);
    if (code < 0) break;  // what could be read counts, as it does when decoding
    ticks += packet->duration;
  }
  if (ticks > 0) return double(ticks) * av_q2d(stream_->time_base);
  return statedSeconds().value_or(0);
}

}  // namespace quillmere::ffmpeg
