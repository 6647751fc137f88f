#pragma once
#include <memory>
#include <vector>

#include "ports/HttpClient.h"

namespace quillmere {

// The body of a request as one row of bytes of known length; files are read while they are sent. Open on the main
// thread, read on another.
class CurlBody {
 public:
  // Opens the files. Errors: fileDoesNotExist, fileNotReadable (also for what is no plain file).
  static Result<CurlBody, UrlError> open(const HttpBody& body);

  bool isAbsent() const { return isAbsent_; }
  qint64 size() const;
  // At most that many bytes; 0 at the end, -1 where a file can't be read or has become shorter.
  qint64 read(char* to, qint64 bytes);
  void rewind();

 private:
  class OpenFile;
  struct Segment {
    QByteArray bytes;
    std::shared_ptr<OpenFile> file;  // instead of the bytes
    qint64 size = 0;
  };
  void append(const QByteArray& bytes);
  std::optional<UrlError> append(const HttpFile& file);

  std::vector<Segment> segments_;
  bool isAbsent_ = false;
  size_t segment_ = 0;  // where the reading is
  qint64 offset_ = 0;
};

}  // namespace quillmere
