#include "contract/Sides.h"
#include "platform/curl/CurlHttpClient.h"
#include "support/FakeHttpClient.h"
#include "support/LoopbackHttpServer.h"
#include "support/WaitUntil.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

struct FakeSide : InLoop {
  void serve(const FakeHttpAnswer& answer) {
    client.answer = [answer](const HttpRequest&) { return answer; };
  }
  QUrl url() const { return QUrl("http://web.test/x"); }
  int openAnswers() const { return client.openBodies; }
  bool hasBeenAsked() const { return !client.requests.empty(); }
  FakeHttpClient client;
};

struct CurlSide : InLoop {
  void serve(const FakeHttpAnswer& answer) {
    QByteArray headers = "Content-Length: " + QByteArray::number(answer.body.size()) + "\r\n";
    for (const HttpHeader& header : answer.headers) headers += header.name + ": " + header.value + "\r\n";
    LoopbackHttpServer::Reply reply{
        LoopbackHttpServer::response(QByteArray::number(answer.statusCode) + " Status", headers, "")};
    const QByteArray sent = answer.body.left(answer.breaksAfter.value_or(answer.body.size()));
    for (qsizetype at = 0; at < sent.size(); at += answer.pieceBytes) reply.later << sent.mid(at, answer.pieceBytes);
    reply.pause = std::chrono::duration_cast<std::chrono::milliseconds>(answer.pieceDelay);
    server.setHandler([reply](const QByteArray&) { return reply; });
  }
  QUrl url() const { return server.url("/x"); }
  int openAnswers() const { return server.openConnections; }
  bool hasBeenAsked() const { return !server.requests.empty(); }
  LoopbackHttpServer server{nullptr};
  CurlHttpClient client{executor, "1"};
};

template <typename Side>
class HttpClientContract : public testing::Test, public Side {
 protected:
  HttpRequest request(const HttpLimits& limits = {}) const { return {.url = this->url(), .limits = limits}; }
  static int codeOf(const Result<HttpResponse, UrlError>& response) { return response ? 0 : response.error().code; }
};
using Sides = testing::Types<FakeSide, CurlSide>;
TYPED_TEST_SUITE(HttpClientContract, Sides, SideNames);

TYPED_TEST(HttpClientContract, AnAnswerComesWholeOrAsAnError) {
  const HttpLimits idle{.idle = 40ms}, total{.total = 100ms}, small{.bodyBytes = 1000};
  const struct {
    const char* what;
    FakeHttpAnswer answer;
    HttpLimits limits = {};
    int error = 0;
  } cases[] = {
      {"a status is an answer", {.statusCode = 429, .headers = {{"Retry-After", "7"}}, .body = "slower"}},
      {"empty", {.statusCode = 204}},
      {"slow", {.body = "abcdef", .pieceBytes = 2, .pieceDelay = 5ms}},
      {"broken off", {.body = "0123456789", .breaksAfter = 4}, {}, UrlError::networkConnectionLost},
      {"silent in the middle", {.body = "abcd", .pieceBytes = 2, .pieceDelay = 10s}, idle, UrlError::timedOut},
      {"dripping", {.body = QByteArray(400, 'x'), .pieceBytes = 1, .pieceDelay = 5ms}, total, UrlError::timedOut},
      {"as large as allowed", {.body = QByteArray(1000, 'x')}, small},
      {"too large", {.body = QByteArray(1001, 'x')}, small, UrlError::answerTooLarge},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    this->serve(c.answer);
    const auto response = this->run(this->client.send(this->request(c.limits)));
    EXPECT_EQ(this->codeOf(response), c.error);
    if (!response) continue;
    EXPECT_EQ(response->head.statusCode, c.answer.statusCode);
    EXPECT_EQ(response->head.url, this->url());
    EXPECT_EQ(response->body, c.answer.body);
    for (const auto& [name, value] : c.answer.headers) EXPECT_EQ(response->head.header(name.toUpper()), value);
  }
}

TYPED_TEST(HttpClientContract, APieceIsGivenBeforeTheNextIsThere) {
  this->serve({.body = "abcdef", .pieceBytes = 3, .pieceDelay = 100ms});
  const auto opened = this->run(this->client.open(this->request()));
  ASSERT_TRUE(opened);
  for (const char* piece : {"abc", "def", ""}) EXPECT_EQ(*this->run((*opened)->read()), piece);
}

TYPED_TEST(HttpClientContract, ACancelHangsUp) {
  this->serve({.body = "abcd", .pieceBytes = 2, .pieceDelay = 1h});
  TaskScope scope(this->executor);
  auto handle = scope.spawn(this->client.send(this->request()));
  ASSERT_TRUE(waitUntil([this] { return this->openAnswers() > 0; }));
  handle.cancel();
  EXPECT_THROW(std::ignore = this->run(handle.join()), Cancelled);
  EXPECT_TRUE(waitUntil([this] { return this->openAnswers() == 0; }));
}

TYPED_TEST(HttpClientContract, WhatIsNoRequestIsNotSent) {
  for (const char* url : {"", "http://", "ftp://web.test/x", "file:///etc/passwd", "web.test"}) {
    EXPECT_EQ(this->codeOf(this->run(this->client.send({.url = QUrl(url)}))), UrlError::badUrl) << url;
  }
  HttpRequest request = this->request();
  for (const HttpHeader& header : {HttpHeader{"X", "a\r\nX-Evil: 1"}, {"X: 1\r\nX-B", "2"}, {"X", QByteArray(1, 0)}}) {
    request.headers = {header};
    EXPECT_EQ(this->codeOf(this->run(this->client.send(request))), -1) << header.name.constData();
  }
  EXPECT_FALSE(this->hasBeenAsked());
}

}  // namespace
}  // namespace quillmere
