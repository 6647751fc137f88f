#include "platform/curl/CurlHttpClient.h"
#include "platform/qt/QtExecutor.h"
#include "support/FakeHttpClient.h"
#include "support/LoopbackHttpServer.h"
#include "support/RunTask.h"
#include "support/WaitUntil.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

// What holds for every HttpClient, on the fake and against a server on the loopback interface.
struct FakeWeb {
  QtExecutor executor;
  FakeHttpClient client;
  void serve(const FakeHttpAnswer& answer) {
    client.answer = [answer](const HttpRequest&) { return answer; };
  }
  QUrl url() const { return QUrl("http://web.test/x"); }
  int openAnswers() const { return client.openBodies; }
};

struct RealWeb {
  QtExecutor executor;
  LoopbackHttpServer server{nullptr};
  CurlHttpClient client{executor, "1"};
  void serve(const FakeHttpAnswer& answer) {
    LoopbackHttpServer::Reply reply;
    QByteArray headers = "Content-Length: " + QByteArray::number(answer.body.size()) + "\r\n";
    for (const HttpHeader& header : answer.headers) headers += header.name + ": " + header.value + "\r\n";
    reply.bytes = LoopbackHttpServer::response(QByteArray::number(answer.statusCode) + " Status", headers, "");
    const QByteArray sent = answer.breaksAfter ? answer.body.left(*answer.breaksAfter) : answer.body;
    for (qsizetype at = 0; at < sent.size(); at += answer.pieceBytes) reply.later << sent.mid(at, answer.pieceBytes);
    reply.pause = std::chrono::duration_cast<std::chrono::milliseconds>(answer.pieceDelay);
    server.setHandler([reply](const QByteArray&) { return reply; });
  }
  QUrl url() const { return server.url("/x"); }
  int openAnswers() const { return server.openConnections; }
};

template <typename Web>
class HttpClientContract : public testing::Test {
 protected:
  HttpRequest request(const HttpLimits& limits = {}) {
    HttpRequest request;
    request.url = web.url();
    request.limits = limits;
    return request;
  }
  Result<HttpResponse, UrlError> send(const HttpRequest& request) {
    return runTaskInLoop(web.executor, web.client.send(request));
  }
  Web web;
};

using Webs = testing::Types<FakeWeb, RealWeb>;
TYPED_TEST_SUITE(HttpClientContract, Webs);

TYPED_TEST(HttpClientContract, AnAnswerComesWholeOrAsAnError) {
  HttpLimits idle, total, small;
  idle.idle = 40ms;
  total.total = 100ms;
  small.bodyBytes = 1000;
  const struct {
    const char* what;
    FakeHttpAnswer answer;
    HttpLimits limits = {};
    int error = 0;
  } cases[] = {
      {"whole", {.headers = {{"X-Of", "it"}}, .body = "hello"}},
      {"a status is an answer", {.statusCode = 429, .headers = {{"Retry-After", "7"}}, .body = "slower"}},
      {"empty", {.statusCode = 204}},
      {"slow", {.body = "abcdef", .pieceBytes = 2, .pieceDelay = 5ms}},
      {"broken off", {.body = "0123456789", .breaksAfter = 4}, {}, UrlError::networkConnectionLost},
      {"nothing of the body", {.body = "0123456789", .breaksAfter = 0}, {}, UrlError::networkConnectionLost},
      {"silent in the middle", {.body = "abcd", .pieceBytes = 2, .pieceDelay = 10s}, idle, UrlError::timedOut},
      {"dripping", {.body = QByteArray(400, 'x'), .pieceBytes = 1, .pieceDelay = 5ms}, total, UrlError::timedOut},
      {"as large as allowed", {.body = QByteArray(1000, 'x')}, small},
      {"too large", {.body = QByteArray(1001, 'x')}, small, UrlError::answerTooLarge},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    this->web.serve(c.answer);
    const auto response = this->send(this->request(c.limits));
    ASSERT_EQ(response.hasValue(), c.error == 0);
    if (!response) {
      EXPECT_EQ(response.error().code, c.error);
      continue;
    }
    EXPECT_EQ(response->head.statusCode, c.answer.statusCode);
    EXPECT_EQ(response->head.url, this->web.url());
    EXPECT_EQ(response->body, c.answer.body);
    for (const HttpHeader& header : c.answer.headers)
      EXPECT_EQ(response->head.header(header.name.toUpper()), header.value);
  }
}

TYPED_TEST(HttpClientContract, APieceIsGivenBeforeTheNextIsThere) {
  this->web.serve({.body = "abcdef", .pieceBytes = 3, .pieceDelay = 100ms});
  const auto opened = runTaskInLoop(this->web.executor, this->web.client.open(this->request()));
  ASSERT_TRUE(opened);
  for (const char* piece : {"abc", "def", ""}) EXPECT_EQ(*runTaskInLoop(this->web.executor, (*opened)->read()), piece);
}

TYPED_TEST(HttpClientContract, ACancelHangsUp) {
  this->web.serve({.body = "abcd", .pieceBytes = 2, .pieceDelay = 1h});
  TaskScope scope(this->web.executor);
  auto handle = scope.spawn(this->web.client.send(this->request()));
  ASSERT_TRUE(waitUntil([this] { return this->web.openAnswers() > 0; }));
  handle.cancel();
  EXPECT_THROW(std::ignore = runTaskInLoop(this->web.executor, handle.join()), Cancelled);
  EXPECT_TRUE(waitUntil([this] { return this->web.openAnswers() == 0; }));
}

TYPED_TEST(HttpClientContract, WhatIsNoRequestIsNotSent) {
  this->web.serve({});
  for (const char* url : {"", "http://", "ftp://web.test/x", "file:///etc/passwd", "web.test"}) {
    HttpRequest request;
    request.url = QUrl(url);
    const auto response = this->send(request);
    EXPECT_EQ(response ? 0 : response.error().code, UrlError::badUrl) << url;
  }
  for (const HttpHeader& header : {HttpHeader{"Authorization", "Bearer a\r\nX-Evil: 1"},
                                   HttpHeader{"X-A: 1\r\nX-B", "2"}, HttpHeader{"X", QByteArray("\0", 1)}}) {
    HttpRequest request = this->request();
    request.headers = {header};
    const auto response = this->send(request);
    EXPECT_EQ(response ? 0 : response.error().code, -1) << header.name.constData();
  }
}

}  // namespace
}  // namespace quillmere
