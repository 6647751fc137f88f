#pragma once
#include <functional>
#include <optional>
#include <vector>

#include "base/async/Async.h"
#include "ports/HttpDownloader.h"

namespace quillmere {

// What the fake answers to one request.
struct FakeHttpAnswer {
  int statusCode = 200;
  QList<HttpHeader> headers;
  QByteArray body;
  std::optional<UrlError> openError;     // instead of a response
  std::optional<qsizetype> breaksAfter;  // bytes of the body that arrive before the connection is lost
  qsizetype pieceBytes = 64 * 1024;
  Duration pieceDelay{0};  // virtual time in front of each piece
};

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
    std::unique_ptr<HttpDownload> body = std::make_unique<Body>(std::move(made), request.url, openBodies);
    co_return body;
  }

 private:
  class Body final : public HttpDownload {
   public:
    Body(FakeHttpAnswer answer, const QUrl& url, int& openBodies)
        : answer_(std::move(answer)), openBodies_(openBodies) {
      head_ = {answer_.statusCode, url, answer_.headers};
      ++openBodies_;
    }
    ~Body() override { --openBodies_; }
    const HttpResponseHead& head() const override { return head_; }
    Task<Result<QByteArray, UrlError>> read() override {
      if (answer_.pieceDelay > Duration::zero())
        co_await sleepFor(answer_.pieceDelay);
      else
        co_await yieldNow();
      const qsizetype end =
          answer_.breaksAfter ? std::min(*answer_.breaksAfter, answer_.body.size()) : answer_.body.size();
      if (position_ < end) {
        const QByteArray piece = answer_.body.mid(position_, std::min(answer_.pieceBytes, end - position_));
        position_ += piece.size();
        co_return piece;
      }
      if (answer_.breaksAfter) {
        const UrlError lost{UrlError::networkConnectionLost, QStringLiteral("networkConnectionLost"), {}};
        co_return Failed{lost};
      }
      co_return QByteArray();
    }

   private:
    FakeHttpAnswer answer_;
    HttpResponseHead head_;
    qsizetype position_ = 0;
    int& openBodies_;
  };
};

}  // namespace quillmere
