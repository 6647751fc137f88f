#include "platform/ffmpeg/M4aFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <QFile>
#include <cerrno>

namespace quillmere::ffmpeg {
namespace {
constexpr const char* container = "ipod";
}

bool M4aFile::canHold(AVCodecID codec) {
  const AVOutputFormat* format = av_guess_format(container, nullptr, nullptr);
  return format && avformat_query_codec(format, codec, FF_COMPLIANCE_NORMAL) == 1;
}

Result<std::unique_ptr<M4aFile>, int> M4aFile::create(const QString& path, const AVCodecParameters& parameters,
                                                      AVRational timeBase) {
  const QByteArray url = "file:" + QFile::encodeName(path);  // never another protocol, whatever the name
  std::unique_ptr<M4aFile> file(new M4aFile);
  file->timeBase_ = timeBase;
  int code = avformat_alloc_output_context2(&file->context_, nullptr, container, url.constData());
  if (code < 0) return Failed{code};
  file->stream_ = avformat_new_stream(file->context_, nullptr);
  if (!file->stream_) return Failed{AVERROR(ENOMEM)};
  code = avcodec_parameters_copy(file->stream_->codecpar, &parameters);
  if (code < 0) return Failed{code};
  file->stream_->codecpar->codec_tag = 0;
  file->stream_->time_base = {1, parameters.sample_rate};
  // What somebody said is for that person alone. The library takes the file that is there.
  const int own = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (own >= 0) ::close(own);
  code = avio_open(&file->context_->pb, url.constData(), AVIO_FLAG_WRITE);
  if (code < 0) return Failed{code};
  Options options;
  options.set("movflags", "+faststart");
  code = avformat_write_header(file->context_, options.out());
  if (code < 0) return Failed{code};
  return file;
}

M4aFile::~M4aFile() {
  if (!context_) return;
  avio_closep(&context_->pb);
  avformat_free_context(context_);
}

int M4aFile::write(AVPacket& packet) {
  packet.stream_index = stream_->index;
  packet.pos = -1;
  av_packet_rescale_ts(&packet, timeBase_, stream_->time_base);
  hasPackets_ = true;
  const int code = av_interleaved_write_frame(context_, &packet);
  if (code < 0) return code;
  return context_->pb->error < 0 ? context_->pb->error : 0;
}

int M4aFile::finish() {
  int code = av_write_trailer(context_);
  if (code >= 0 && context_->pb->error < 0) code = context_->pb->error;
  const int closing = avio_closep(&context_->pb);
  return code < 0 ? code : std::min(closing, 0);
}

}  // namespace quillmere::ffmpeg
