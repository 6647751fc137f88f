#include "contract/Sides.h"
#include "platform/qt/QtHttpDownloader.h"
#include "support/FakeHttpDownloader.h"
#include "support/HttpFetch.h"
#include "support/LoopbackHttpServer.h"
#include "support/WaitUntil.h"

namespace quillmere {
namespace {

struct FakeSide : InLoop {
  void serve(const FakeHttpAnswer& answer) {
    downloader.answer = [answer](const HttpDownloadRequest&) { return answer; };
  }
  int openBodies() const { return downloader.openBodies; }
  const QUrl url{"http://127.0.0.1/file"};
  FakeHttpDownloader downloader;
};

struct QtSide : InLoop {
  void serve(const FakeHttpAnswer& answer) {
    server.setHandler([answer](const QByteArray&) {
      QByteArray headers = "Content-Length: " + QByteArray::number(answer.body.size()) + "\r\n";
      for (const HttpHeader& header : answer.headers) headers += header.name + ": " + header.value + "\r\n";
      const bool hangs = answer.pieceDelay > Duration::zero();
      const QByteArray body = hangs ? QByteArray() : answer.body.left(answer.breaksAfter.value_or(answer.body.size()));
      return LoopbackHttpServer::Reply{
          LoopbackHttpServer::response(QByteArray::number(answer.statusCode) + " Said", headers, body), hangs};
    });
  }
  // A connection that never carried a request may stay with Qt for a later one.
  int openBodies() const { return server.requests.empty() ? 0 : server.openConnections; }
  LoopbackHttpServer server{nullptr};
  const QUrl url = server.url("/file");
  QtHttpDownloader downloader{"1"};
};

template <typename Side>
class HttpDownloaderContract : public testing::Test, public Side {
 protected:
  HttpFetch get(const FakeHttpAnswer& answer) {
    this->serve(answer);
    HttpDownloadRequest request;
    request.url = this->url;
    return this->run(fetch(this->downloader, request));
  }
};
using Sides = testing::Types<FakeSide, QtSide>;
TYPED_TEST_SUITE(HttpDownloaderContract, Sides, SideNames);

TYPED_TEST(HttpDownloaderContract, EveryStatusIsAResponse) {
  for (const int status : {200, 203, 206, 304, 400, 401, 403, 404, 407, 410, 416, 418, 429, 500, 501, 503, 599}) {
    FakeHttpAnswer answer{.statusCode = status, .headers = {{"ETag", "\"v1\""}}};
    if (status != 304) answer.body = "some text";
    const HttpFetch fetched = this->get(answer);
    ASSERT_FALSE(fetched.openError) << status << ' ' << fetched.openError->code;
    EXPECT_EQ(fetched.head.statusCode, status);
    EXPECT_EQ(fetched.head.header("etag"), "\"v1\"");
    EXPECT_EQ(fetched.head.header("x-none"), std::nullopt);
    EXPECT_EQ(fetched.head.url, this->url);
    EXPECT_EQ(fetched.body, answer.body);
    EXPECT_FALSE(fetched.bodyError) << status << ' ' << fetched.bodyError->code;
  }
}

TYPED_TEST(HttpDownloaderContract, ABodyComesWholeOrEndsInAnError) {
  const QByteArray large(3'000'000, 'x');
  for (const QByteArray& body : {QByteArray(), QByteArray("hello"), large}) {
    const HttpFetch whole = this->get({.body = body});
    EXPECT_TRUE(whole.body == body) << whole.body.size();
    EXPECT_FALSE(whole.bodyError);
    EXPECT_LE(whole.largestPiece, 1 << 20);
    if (body.isEmpty()) continue;
    for (int again = 0; again < 5; ++again) {  // a connection that closes right after a lot of data
      const HttpFetch broken = this->get({.body = body, .breaksAfter = body.size() - 1});
      EXPECT_EQ(broken.body.size(), body.size() - 1);
      ASSERT_TRUE(broken.bodyError);
      EXPECT_EQ(broken.bodyError->code, UrlError::networkConnectionLost);
    }
  }
}

TYPED_TEST(HttpDownloaderContract, ACancelHangsUp) {
  this->serve({.body = "hello", .pieceDelay = std::chrono::hours(1)});
  HttpDownloadRequest request;
  request.url = this->url;
  TaskScope scope(this->executor);
  auto handle = scope.spawn(fetch(this->downloader, request));
  EXPECT_TRUE(waitUntil([&] { return this->openBodies() == 1; }));
  handle.cancel();
  EXPECT_THROW(this->run(handle.join()), Cancelled);
  EXPECT_TRUE(waitUntil([&] { return this->openBodies() == 0; }));
}

}  // namespace
}  // namespace quillmere
