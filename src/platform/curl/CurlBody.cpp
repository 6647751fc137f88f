#include "platform/curl/CurlBody.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstring>

namespace quillmere {
namespace {

// As browsers write names into a form.
QByteArray quoted(QByteArray text) {
  return '"' + text.replace('"', "%22").replace('\r', "%0D").replace('\n', "%0A") + '"';
}

QByteArray partHead(const HttpFormPart& part, const QByteArray& boundary) {
  QByteArray head = "--" + boundary + "\r\nContent-Disposition: form-data; name=" + quoted(part.name);
  if (!part.fileName.isEmpty()) head += "; filename=" + quoted(part.fileName.toUtf8());
  if (!part.contentType.isEmpty()) head += "\r\nContent-Type: " + part.contentType;
  return head + "\r\n\r\n";
}

}  // namespace

class CurlBody::OpenFile {
 public:
  explicit OpenFile(int fd) : fd_(fd) {}
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() { ::close(fd_); }
  qint64 readAt(qint64 offset, char* to, qint64 bytes) const {
    ssize_t count = 0;
    do {
      count = ::pread(fd_, to, size_t(bytes), offset);
    } while (count < 0 && errno == EINTR);
    return count;
  }

 private:
  const int fd_;
};

Result<CurlBody, UrlError> CurlBody::open(const HttpBody& body) {
  CurlBody opened;
  opened.isAbsent_ = std::holds_alternative<std::monostate>(body);
  if (const auto* bytes = std::get_if<QByteArray>(&body)) opened.append(*bytes);
  if (const auto* file = std::get_if<HttpFile>(&body))
    if (auto error = opened.append(*file)) return Failed{*error};
  if (const auto* form = std::get_if<HttpForm>(&body)) {
    for (const HttpFormPart& part : form->parts) {
      opened.append(partHead(part, form->boundary));
      if (const auto* bytes = std::get_if<QByteArray>(&part.content))
        opened.append(*bytes);
      else if (auto error = opened.append(std::get<HttpFile>(part.content)))
        return Failed{*error};
      opened.append("\r\n");
    }
    opened.append("--" + form->boundary + "--\r\n");
  }
  return opened;
}

void CurlBody::append(const QByteArray& bytes) {
  segments_.push_back({bytes, nullptr, bytes.size()});
}

std::optional<UrlError> CurlBody::append(const HttpFile& file) {
  const QString name = QFileInfo(file.path).fileName();
  // Without waiting for the other end of a pipe.
  const int fd = ::open(QFile::encodeName(file.path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return urlError(errno == ENOENT ? UrlError::fileDoesNotExist : UrlError::fileNotReadable, name);
  const auto opened = std::make_shared<OpenFile>(fd);
  struct stat status {};
  if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) return urlError(UrlError::fileNotReadable, name);
  segments_.push_back({{}, opened, status.st_size});
  return std::nullopt;
}

qint64 CurlBody::size() const {
  qint64 bytes = 0;
  for (const Segment& segment : segments_) bytes += segment.size;
  return bytes;
}

qint64 CurlBody::read(char* to, qint64 bytes) {
  while (segment_ < segments_.size() && offset_ == segments_[segment_].size) {
    ++segment_;
    offset_ = 0;
  }
  if (segment_ == segments_.size()) return 0;
  const Segment& segment = segments_[segment_];
  qint64 count = std::min(bytes, segment.size - offset_);
  if (segment.file) {
    count = segment.file->readAt(offset_, to, count);
    if (count <= 0) return -1;
  } else {
    std::memcpy(to, segment.bytes.constData() + offset_, size_t(count));
  }
  offset_ += count;
  return count;
}

void CurlBody::rewind() {
  segment_ = 0;
  offset_ = 0;
}

}  // namespace quillmere
