#pragma once
#include <functional>
#include <vector>

#include "support/FakeHttpStream.h"

namespace quillmere {

// A web without sockets: a function answers, the requests are kept. Works in virtual time; does not follow redirects.
class FakeHttpClient final : public HttpClient {
 public:
  std::function<FakeHttpAnswer(const HttpRequest&)> answer = [](const HttpRequest&) {
    return FakeHttpAnswer{.statusCode = 404};
  };
  std::vector<HttpRequest> requests;
  int openBodies = 0;  // responses that somebody still holds

  Task<Result<std::unique_ptr<HttpStream>, UrlError>> open(HttpRequest request) override {
    const QString scheme = request.url.scheme();
    if (request.url.host().isEmpty() || (scheme != u"https" && scheme != u"http"))
      co_return Failed{urlError(UrlError::badUrl)};
    for (const HttpHeader& header : request.headers)
      if (!header.isValid()) co_return Failed{UrlError{-1, {}, "header"}};
    requests.push_back(request);
    const FakeHttpAnswer made = answer(request);
    co_await yieldNow();
    if (made.openError) co_return Failed{*made.openError};
    std::unique_ptr<HttpStream> stream =
        std::make_unique<FakeHttpStream>(made, request.url, openBodies, request.limits);
    co_return stream;
  }
  void prepare(const QUrl&) override {}
};

}  // namespace quillmere
