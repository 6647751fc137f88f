#pragma once
#include <QList>
#include <QUrl>
#include <chrono>
#include <memory>

#include "ports/HttpStream.h"

namespace quillmere {

struct HttpDownloadRequest {
  QUrl url;
  QList<HttpHeader> headers;                         // sent as they are, beside those of the adapter
  std::chrono::milliseconds idleTimeout{3'600'000};  // no byte in either direction for so long ends the transfer
};

using HttpDownload = HttpStream;

// Streaming GET over HTTP(S). Main thread. Redirects are followed, never from https to http and never to another
// scheme; the body arrives undecoded. A status such as 404 is a response, not an error: open() fails only where no
// response came. A cancel while opening ends the transfer.
class HttpDownloader {
 public:
  virtual ~HttpDownloader() = default;
  virtual Task<Result<std::unique_ptr<HttpDownload>, UrlError>> open(HttpDownloadRequest request) = 0;
};

}  // namespace quillmere
