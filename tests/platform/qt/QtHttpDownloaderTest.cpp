#include "platform/qt/QtHttpDownloader.h"

#include "support/HttpFetch.h"
#include "support/InLoop.h"
#include "support/LoopbackHttpServer.h"
#include "support/WaitUntil.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Server = LoopbackHttpServer;

class QtHttpDownloaderTest : public testing::Test, protected InLoop {
 protected:
  HttpDownloadRequest request(const QString& path = "/file") const {
    HttpDownloadRequest request;
    request.url = server.url(path);
    return request;
  }
  HttpFetch get(const HttpDownloadRequest& request) { return run(fetch(downloader, request)); }
  HttpFetch get() { return get(request()); }
  void serve(const QByteArray& bytes) {
    server.setHandler([bytes](const QByteArray&) { return Server::Reply{bytes}; });
  }
  bool isHungUp() {
    return waitUntil([this] { return server.openConnections == 0; });
  }

  QtHttpDownloader downloader{"1.2.3"};
  Server server{[](const QByteArray&) { return Server::Reply{Server::response("200 OK", "", "hello")}; }};
};

TEST_F(QtHttpDownloaderTest, SendsExactlyTheseHeaders) {
  HttpDownloadRequest request = this->request("/a%20b/c%2Fd?x=1&y=%26");
  request.headers = {{"Range", "bytes=7-"}, {"If-Range", "\"v1\""}};
  const HttpFetch fetched = get(request);
  EXPECT_EQ(fetched.body, "hello");
  ASSERT_EQ(server.requests.size(), 1u);
  QByteArray head = server.requests[0];
  ASSERT_TRUE(head.endsWith("\r\n\r\n"));
  QByteArrayList lines = head.chopped(4).replace("\r\n", "\n").split('\n');
  EXPECT_EQ(lines.takeFirst(), "GET /a%20b/c%2Fd?x=1&y=%26 HTTP/1.1");
  lines.removeIf([](const QByteArray& line) { return line.startsWith("Accept-Language: "); });
  std::ranges::sort(lines);
  EXPECT_EQ(lines, QByteArrayList({"Accept-Encoding: identity", "Connection: Keep-Alive",
                                   "Host: 127.0.0.1:" + QByteArray::number(server.port()), "If-Range: \"v1\"",
                                   "Range: bytes=7-", "User-Agent: Quillmere/1.2.3"}));
}

TEST_F(QtHttpDownloaderTest, ACompressedBodyIsTakenAsItIs) {
  const QByteArray gzip = QByteArray::fromHex("1f8b08000000000002ff4bcc4bcc49010034a0d9c205000000");
  serve(Server::response("200 OK", "Content-Encoding: gzip\r\n", gzip));
  const HttpFetch fetched = get();
  EXPECT_EQ(fetched.body, gzip);
  EXPECT_FALSE(fetched.bodyError);
}

TEST_F(QtHttpDownloaderTest, NonsenseIsAnErrorAndNotAResponse) {
  for (const QByteArray& bytes :
       {QByteArray(""), QByteArray("220 mail.example ESMTP\r\n\r\n"), QByteArray("\0\1\2\3", 4),
        QByteArray("HTTP/1.1 abc OK\r\n\r\n"), QByteArray("HTTP/1.1 200 OK\r\nContent-Le")}) {
    SCOPED_TRACE(bytes.toHex().constData());
    serve(bytes);
    const HttpFetch fetched = get();
    ASSERT_TRUE(fetched.openError) << fetched.head.statusCode << fetched.body.constData();
    EXPECT_FALSE(localizedDescription(AnyError(*fetched.openError)).isEmpty());
  }
}

TEST_F(QtHttpDownloaderTest, FollowsRedirectsWithinTheWebOnly) {
  const auto redirect = [this](const QByteArray& to, const QByteArray& status = "302 Found") {
    server.requests.clear();
    server.setHandler([to, status](const QByteArray& request) {
      if (request.startsWith("GET /file "))
        return Server::Reply{
            Server::response(status, to.isEmpty() ? QByteArray() : "Location: " + to + "\r\n", "moved")};
      return Server::Reply{Server::response("200 OK", "", "arrived")};
    });
  };
  HttpDownloadRequest request = this->request();
  request.headers = {{"Range", "bytes=7-"}, {"If-Range", "\"v1\""}};
  for (const char* status : {"301 M", "302 F", "303 S", "307 T", "308 P"}) {
    redirect("/other", status);
    const HttpFetch fetched = get(request);
    EXPECT_EQ(fetched.body, "arrived");
    EXPECT_EQ(fetched.head.url, server.url("/other"));
    EXPECT_EQ(Server::header(server.requests.back(), "Range"), "bytes=7-") << "a resumed download stays one";
    EXPECT_EQ(Server::header(server.requests.back(), "If-Range"), "\"v1\"");
  }
  for (const char* to : {"file:///etc/passwd", "ftp://127.0.0.1/x", "data:,hello", "qrc:/x", "http://"}) {
    SCOPED_TRACE(to);
    redirect(to);
    const HttpFetch fetched = get();
    EXPECT_TRUE(fetched.openError) << fetched.head.statusCode << fetched.body.constData();
    EXPECT_EQ(fetched.body, "");
  }
  redirect("/file");
  const HttpFetch looping = get();
  ASSERT_TRUE(looping.openError);
  EXPECT_EQ(looping.openError->code, -1007);
  EXPECT_LE(server.requests.size(), 20u);
  redirect("");
  EXPECT_TRUE(get().openError) << "a redirect without an address";
}

TEST_F(QtHttpDownloaderTest, ServersThatCannotBeReached) {
  QTcpServer gone;
  ASSERT_TRUE(gone.listen(QHostAddress::LocalHost));
  const QString nobody = QString("http://127.0.0.1:%1/").arg(gone.serverPort());
  gone.close();
  server.setHandler([](const QByteArray&) { return Server::Reply{"HTTP/1.1 400 Bad Request\r\n\r\n"}; });
  for (const auto& [url, code] : {std::pair<QString, int>{nobody, UrlError::cannotConnectToHost},
                                  {server.address().replace("http", "https"), -1200},
                                  {"ftp://127.0.0.1/x", UrlError::badUrl},
                                  {"file:///etc/passwd", UrlError::badUrl},
                                  {"http://", UrlError::badUrl},
                                  {"", UrlError::badUrl}}) {
    SCOPED_TRACE(url.toStdString());
    HttpDownloadRequest request;
    request.url = QUrl(url);
    request.idleTimeout = 5s;
    const HttpFetch fetched = get(request);
    ASSERT_TRUE(fetched.openError);
    EXPECT_EQ(fetched.openError->code, code) << fetched.openError->description.toStdString();
  }
}

TEST_F(QtHttpDownloaderTest, ASilentServerTimesOut) {
  for (const QByteArray& bytes : {QByteArray(), QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhello")}) {
    server.setHandler([&](const QByteArray&) { return Server::Reply{bytes, true}; });
    HttpDownloadRequest request = this->request();
    request.idleTimeout = 50ms;
    const HttpFetch fetched = get(request);
    const auto error = bytes.isEmpty() ? fetched.openError : fetched.bodyError;
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, UrlError::timedOut);
    EXPECT_TRUE(isHungUp());
  }
}

TEST_F(QtHttpDownloaderTest, ACancelWhileOpeningHangsUp) {
  server.setHandler([](const QByteArray&) { return Server::Reply{{}, true}; });
  TaskScope scope(executor);
  auto handle = scope.spawn(fetch(downloader, request()));
  EXPECT_TRUE(waitUntil([this] { return !server.requests.empty(); }));
  EXPECT_FALSE(handle.isDone());
  handle.cancel();
  EXPECT_THROW(run(handle.join()), Cancelled);
  EXPECT_TRUE(isHungUp());
}

TEST_F(QtHttpDownloaderTest, ABodyLargerThanTheBufferArrivesWhole) {
  QByteArray body(40'000'000, Qt::Uninitialized);
  for (qsizetype i = 0; i < body.size(); ++i) body[i] = static_cast<char>(i % 251);
  serve(Server::response("200 OK", "", body));
  const HttpFetch fetched = run(fetch(downloader, request(), 100ms));
  EXPECT_TRUE(fetched.body == body) << fetched.body.size();
  EXPECT_FALSE(fetched.bodyError);
  EXPECT_LE(fetched.largestPiece, 1 << 20);
}

}  // namespace
}  // namespace quillmere
