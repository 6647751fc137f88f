#pragma once
#include "base/async/Async.h"
#include "ports/HttpDownloader.h"

namespace quillmere {

// One response read to its end.
struct HttpFetch {
  std::optional<UrlError> openError;
  HttpResponseHead head;
  QByteArray body;
  qsizetype largestPiece = 0;
  std::optional<UrlError> bodyError;
};

inline Task<HttpFetch> fetch(HttpDownloader& downloader, HttpDownloadRequest request,
                             Duration pause = Duration::zero()) {
  HttpFetch result;
  auto opened = co_await downloader.open(request);
  if (!opened) {
    result.openError = opened.error();
    co_return result;
  }
  const std::unique_ptr<HttpDownload> download = std::move(opened).value();
  result.head = download->head();
  if (pause > Duration::zero()) co_await sleepFor(pause);
  for (;;) {
    const auto piece = co_await download->read();
    if (!piece) result.bodyError = piece.error();
    if (!piece || piece->isEmpty()) co_return result;
    result.body += piece.value();
    result.largestPiece = std::max(result.largestPiece, piece->size());
  }
}

}  // namespace quillmere
