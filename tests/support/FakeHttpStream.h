#pragma once
#include <optional>

#include "base/async/Async.h"
#include "ports/HttpClient.h"

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

// A body without a socket.
class FakeHttpStream final : public HttpStream {
 public:
  FakeHttpStream(FakeHttpAnswer answer, const QUrl& url, int& openBodies, std::optional<HttpLimits> limits = {})
      : answer_(std::move(answer)), openBodies_(openBodies), limits_(limits) {
    head_ = {answer_.statusCode, url, answer_.headers};
    ++openBodies_;
  }
  FakeHttpStream(const FakeHttpStream&) = delete;
  FakeHttpStream& operator=(const FakeHttpStream&) = delete;
  ~FakeHttpStream() override { --openBodies_; }

  const HttpResponseHead& head() const override { return head_; }
  Task<Result<QByteArray, UrlError>> read() override {
    const auto wait = limits_ ? std::min(answer_.pieceDelay, Duration(limits_->idle)) : answer_.pieceDelay;
    if (wait > Duration::zero())
      co_await sleepFor(wait);
    else
      co_await yieldNow();
    waited_ += wait;
    const bool isLate =
        limits_ && (answer_.pieceDelay > limits_->idle || (limits_->total.count() > 0 && waited_ > limits_->total));
    if (isLate) co_return Failed{urlError(UrlError::timedOut)};
    if (limits_ && position_ + answer_.pieceBytes > limits_->bodyBytes && answer_.body.size() > limits_->bodyBytes)
      co_return Failed{urlError(UrlError::answerTooLarge)};
    const qsizetype end =
        answer_.breaksAfter ? std::min(*answer_.breaksAfter, answer_.body.size()) : answer_.body.size();
    if (position_ < end) {
      const QByteArray piece = answer_.body.mid(position_, std::min(answer_.pieceBytes, end - position_));
      position_ += piece.size();
      co_return piece;
    }
    if (answer_.breaksAfter) co_return Failed{urlError(UrlError::networkConnectionLost)};
    co_return QByteArray();
  }

 private:
  FakeHttpAnswer answer_;
  HttpResponseHead head_;
  qsizetype position_ = 0;
  Duration waited_{0};
  int& openBodies_;
  const std::optional<HttpLimits> limits_;
};

}  // namespace quillmere
