#pragma once
#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>
#include <chrono>
#include <memory>
#include <optional>
#include <utility>

#include "base/Result.h"
#include "base/async/Task.h"
#include "domain/Errors.h"

namespace quillmere {

struct HttpHeader {
  QByteArray name;
  QByteArray value;
  bool operator==(const HttpHeader&) const = default;
};

struct HttpDownloadRequest {
  QUrl url;
  QList<HttpHeader> headers;                         // sent as they are, beside those of the adapter
  std::chrono::milliseconds idleTimeout{3'600'000};  // no byte in either direction for so long ends the transfer
};

// What the final response (after redirects) said before its body.
struct HttpResponseHead {
  int statusCode = 0;
  QUrl url;  // where the body really comes from
  QList<HttpHeader> headers;
  // The value of the first header of that name (any case), or nothing.
  std::optional<QByteArray> header(const QByteArray& name) const {
    for (const HttpHeader& entry : headers)
      if (entry.name.compare(name, Qt::CaseInsensitive) == 0) return entry.value;
    return std::nullopt;
  }
};

// The body of one response, read piece by piece. Main thread. Owned by the reader; destroying it ends the transfer.
class HttpDownload {
 public:
  virtual ~HttpDownload() = default;
  virtual const HttpResponseHead& head() const = 0;
  // The next bytes (at most about 1 MiB), or an empty array at the end of the body. A body that breaks off before the
  // announced length is an error; one without an announced length may look complete, so check what arrives. One read at
  // a time. A cancel leaves the transfer to its owner.
  virtual Task<Result<QByteArray, UrlError>> read() = 0;
};

// Streaming GET over HTTP(S). Main thread. Redirects are followed, never from https to http and never to another
// scheme; the body arrives undecoded. A status such as 404 is a response, not an error: open() fails only where no
// response came. A cancel while opening ends the transfer.
class HttpDownloader {
 public:
  virtual ~HttpDownloader() = default;
  virtual Task<Result<std::unique_ptr<HttpDownload>, UrlError>> open(HttpDownloadRequest request) = 0;
};

}  // namespace quillmere
