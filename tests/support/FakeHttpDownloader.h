#pragma once
#include <functional>
#include <vector>

#include "ports/HttpDownloader.h"
#include "support/FakeHttpStream.h"

namespace quillmere {

// A web without sockets: a function answers, the requests are kept. Works in virtual time.
class FakeHttpDownloader final : public HttpDownloader {
 public:
  using Answer = std::function<FakeHttpAnswer(const HttpDownloadRequest&)>;
  Answer answer = [](const HttpDownloadRequest&) { return FakeHttpAnswer{.statusCode = 404}; };
  std::vector<HttpDownloadRequest> requests;
  int openBodies = 0;  // responses that somebody still holds

  // Serves `content` like a web server that knows ranges.
  static FakeHttpAnswer serve(const HttpDownloadRequest& request, const QByteArray& content, const QByteArray& etag) {
    FakeHttpAnswer answer;
    answer.headers = {{"ETag", etag}, {"Accept-Ranges", "bytes"}};
    const QByteArray range = header(request, "Range");
    const QByteArray condition = header(request, "If-Range");
    qint64 first = 0;
    if (range.startsWith("bytes=") && (condition.isEmpty() || condition == etag)) {
      first = range.mid(6, range.indexOf('-') - 6).toLongLong();
      if (first >= content.size()) {
        answer.statusCode = 416;
        answer.headers.append({"Content-Range", "bytes */" + QByteArray::number(content.size())});
        return answer;
      }
      answer.statusCode = 206;
      answer.headers.append({"Content-Range", "bytes " + QByteArray::number(first) + "-" +
                                                  QByteArray::number(content.size() - 1) + "/" +
                                                  QByteArray::number(content.size())});
    }
    answer.body = content.mid(first);
    answer.headers.append({"Content-Length", QByteArray::number(answer.body.size())});
    return answer;
  }

  static QByteArray header(const HttpDownloadRequest& request, const QByteArray& name) {
    for (const HttpHeader& entry : request.headers)
      if (entry.name.compare(name, Qt::CaseInsensitive) == 0) return entry.value;
    return {};
  }

  Task<Result<std::unique_ptr<HttpDownload>, UrlError>> open(HttpDownloadRequest request) override {
    requests.push_back(request);
    FakeHttpAnswer made = answer(request);
    co_await yieldNow();
    if (made.openError) co_return Failed{*made.openError};
    std::unique_ptr<HttpDownload> body = std::make_unique<FakeHttpStream>(std::move(made), request.url, openBodies);
    co_return body;
  }
};

}  // namespace quillmere
