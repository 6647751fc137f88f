#include "platform/qt/QtHttpDownloader.h"

#include <QEventLoop>

#include "base/async/Async.h"
#include "platform/qt/QtExecutor.h"
#include "support/LoopbackHttpServer.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Server = LoopbackHttpServer;

struct Fetched {
  std::optional<UrlError> openError;
  HttpResponseHead head;
  QByteArray body;
  qsizetype largestPiece = 0;
  std::optional<UrlError> bodyError;
};

Task<Fetched> fetch(HttpDownloader& downloader, HttpDownloadRequest request, Duration pause = Duration::zero()) {
  Fetched result;
  auto opening = downloader.open(request);
  auto opened = co_await std::move(opening);
  if (!opened) {
    result.openError = opened.error();
    co_return result;
  }
  const std::unique_ptr<HttpDownload> download = std::move(opened).value();
  result.head = download->head();
  if (pause > Duration::zero()) co_await sleepFor(pause);
  for (;;) {
    auto reading = download->read();
    auto piece = co_await std::move(reading);
    if (!piece) result.bodyError = piece.error();
    if (!piece || piece->isEmpty()) co_return result;
    result.body += piece.value();
    result.largestPiece = std::max(result.largestPiece, piece->size());
  }
}

class QtHttpDownloaderTest : public testing::Test {
 protected:
  Fetched get(const QString& path = "/file") {
    HttpDownloadRequest request;
    request.url = server.url(path);
    return runTaskInLoop(executor, fetch(downloader, request));
  }
  void serve(const QByteArray& bytes) {
    server.setHandler([bytes](const QByteArray&) { return Server::Reply{bytes}; });
  }
  void untilServerHasNoConnection() {
    QEventLoop loop;
    server.onDisconnected = [&] { loop.quit(); };
    if (server.openConnections > 0) loop.exec();
    server.onDisconnected = nullptr;
  }

  QtExecutor executor;
  QtHttpDownloader downloader{"1.2.3"};
  Server server{[](const QByteArray&) { return Server::Reply{Server::response("200 OK", "", "hello")}; }};
};

TEST_F(QtHttpDownloaderTest, SendsExactlyTheseHeaders) {
  HttpDownloadRequest request;
  request.url = QUrl(server.address() + "/a%20b/c%2Fd?x=1&y=%26");
  request.headers = {{"Range", "bytes=7-"}, {"If-Range", "\"v1\""}};
  const Fetched fetched = runTaskInLoop(executor, fetch(downloader, request));
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

TEST_F(QtHttpDownloaderTest, EveryStatusIsAResponse) {
  for (const char* status : {"200 OK", "203 Well", "206 Partial Content", "304 Not Modified", "400 Bad", "401 Who",
                             "403 No", "404 Not Found", "407 Proxy", "410 Gone", "416 Range", "418 Teapot", "429 Slow",
                             "500 Oops", "501 What", "503 Later", "599 ?"}) {
    SCOPED_TRACE(status);
    const QByteArray body = QByteArray(status).startsWith("304") ? "" : "some text";
    serve(Server::response(status, "ETag: \"v1\"\r\nX-Twice: a\r\n", body));
    const Fetched fetched = get();
    ASSERT_FALSE(fetched.openError) << fetched.openError->code;
    EXPECT_EQ(fetched.head.statusCode, QByteArray(status).left(3).toInt());
    EXPECT_EQ(fetched.head.header("etag"), "\"v1\"");
    EXPECT_EQ(fetched.head.header("x-none"), std::nullopt);
    EXPECT_EQ(fetched.head.url, server.url("/file"));
    EXPECT_EQ(fetched.body, body);
    EXPECT_FALSE(fetched.bodyError) << fetched.bodyError->code;
  }
}

TEST_F(QtHttpDownloaderTest, BodiesOfEveryKind) {
  const QByteArray gzip = QByteArray::fromHex("1f8b08000000000002ff4bcc4bcc49010034a0d9c205000000");
  const struct {
    const char* what;
    QByteArray bytes, body;
    bool isBroken;
  } cases[] = {
      {"empty", Server::response("200 OK", "", ""), "", false},
      {"chunked", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n6;x=y\r\n world\r\n0\r\n\r\n",
       "hello world", false},
      {"up to the end of the connection", "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nhello", "hello", false},
      {"compressed all the same", Server::response("200 OK", "Content-Encoding: gzip\r\n", gzip), gzip, false},
      {"more than announced", "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello world", "hello", false},
      {"less than announced", "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhello", "hello", true},
      {"nothing of what was announced", "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n", "", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    serve(c.bytes);
    const Fetched fetched = get();
    ASSERT_FALSE(fetched.openError) << fetched.openError->code;
    EXPECT_EQ(fetched.head.statusCode, 200);
    EXPECT_EQ(fetched.body, c.body);
    EXPECT_EQ(fetched.bodyError.has_value(), c.isBroken);
    if (fetched.bodyError) {
      EXPECT_EQ(fetched.bodyError->code, UrlError::networkConnectionLost);
    }
  }
}

TEST_F(QtHttpDownloaderTest, NonsenseIsAnErrorAndNotAResponse) {
  for (const QByteArray& bytes :
       {QByteArray(""), QByteArray("220 mail.example ESMTP\r\n\r\n"), QByteArray("\0\1\2\3", 4),
        QByteArray("HTTP/1.1 abc OK\r\n\r\n"), QByteArray("HTTP/1.1 200 OK\r\nContent-Le")}) {
    SCOPED_TRACE(bytes.toHex().constData());
    serve(bytes);
    const Fetched fetched = get();
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
  HttpDownloadRequest request;
  request.url = server.url("/file");
  request.headers = {{"Range", "bytes=7-"}, {"If-Range", "\"v1\""}};
  for (const QByteArray& to : {QByteArray("/other"), QByteArray("other"), server.address().toLatin1() + "/other"}) {
    for (const char* status : {"301 M", "302 F", "303 S", "307 T", "308 P"}) {
      redirect(to, status);
      const Fetched fetched = runTaskInLoop(executor, fetch(downloader, request));
      EXPECT_EQ(fetched.body, "arrived");
      EXPECT_EQ(fetched.head.statusCode, 200);
      EXPECT_EQ(fetched.head.url, server.url("/other"));
      EXPECT_EQ(Server::header(server.requests.back(), "Range"), "bytes=7-") << "a resumed download stays one";
      EXPECT_EQ(Server::header(server.requests.back(), "If-Range"), "\"v1\"");
    }
  }
  for (const char* to : {"file:///etc/passwd", "ftp://127.0.0.1/x", "data:,hello", "qrc:/x", "http://"}) {
    SCOPED_TRACE(to);
    redirect(to);
    const Fetched fetched = get();
    EXPECT_TRUE(fetched.openError) << fetched.head.statusCode << fetched.body.constData();
    EXPECT_EQ(fetched.body, "");
  }
  redirect("/file");
  const Fetched looping = get();
  ASSERT_TRUE(looping.openError);
  EXPECT_EQ(looping.openError->code, -1007);
  EXPECT_EQ(looping.openError->description, "error.url.tooManyRedirects");
  EXPECT_LE(server.requests.size(), 20u);
  redirect("");
  EXPECT_TRUE(get().openError) << "a redirect without an address";
}

TEST_F(QtHttpDownloaderTest, ServersThatCannotBeReached) {
  quint16 port = 0;
  {
    QTcpServer gone;
    ASSERT_TRUE(gone.listen(QHostAddress::LocalHost));
    port = gone.serverPort();
  }
  const struct {
    QString url;
    int code;
  } cases[] = {
      {QStringLiteral("http://127.0.0.1:%1/").arg(port), UrlError::cannotConnectToHost},
      {server.address().replace("http", "https"), -1200},
      {"ftp://127.0.0.1/x", UrlError::badUrl},
      {"file:///etc/passwd", UrlError::badUrl},
      {"http://", UrlError::badUrl},
      {"", UrlError::badUrl},
  };
  server.setHandler([](const QByteArray&) { return Server::Reply{"HTTP/1.1 400 Bad Request\r\n\r\n"}; });
  for (const auto& c : cases) {
    SCOPED_TRACE(c.url.toStdString());
    HttpDownloadRequest request;
    request.url = QUrl(c.url);
    request.idleTimeout = 5s;
    const Fetched fetched = runTaskInLoop(executor, fetch(downloader, request));
    ASSERT_TRUE(fetched.openError);
    EXPECT_EQ(fetched.openError->code, c.code) << fetched.openError->description.toStdString();
  }
}

TEST_F(QtHttpDownloaderTest, ASilentServerTimesOut) {
  const struct {
    QByteArray bytes;
    bool hasHead;
  } cases[] = {{"", false}, {"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhello", true}};
  for (const auto& c : cases) {
    server.setHandler([&](const QByteArray&) { return Server::Reply{c.bytes, true}; });
    HttpDownloadRequest request;
    request.url = server.url("/file");
    request.idleTimeout = 50ms;
    const Fetched fetched = runTaskInLoop(executor, fetch(downloader, request));
    const auto error = c.hasHead ? fetched.bodyError : fetched.openError;
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, UrlError::timedOut);
    EXPECT_EQ(error->codeName, "timedOut");
    untilServerHasNoConnection();
  }
}

TEST_F(QtHttpDownloaderTest, ACancelHangsUp) {
  for (const QByteArray& bytes : {QByteArray(), QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhello")}) {
    QEventLoop loop;
    server.setHandler([&](const QByteArray&) {
      executor.startTimer(20ms, [&] { loop.quit(); });
      return Server::Reply{bytes, true};
    });
    HttpDownloadRequest request;
    request.url = server.url("/file");
    TaskScope scope(executor);
    auto handle = scope.spawn(fetch(downloader, request));
    loop.exec();
    EXPECT_FALSE(handle.isDone());
    handle.cancel();
    auto joined = handle.join();
    EXPECT_THROW(runTaskInLoop(executor, std::move(joined)), Cancelled);
    untilServerHasNoConnection();
    EXPECT_EQ(server.openConnections, 0);
  }
}

// A connection that closes right behind a lot of data.
TEST_F(QtHttpDownloaderTest, ALongBodyThatBreaksOffIsNeverTakenForAWholeOne) {
  serve("HTTP/1.1 200 OK\r\nContent-Length: 5000000\r\n\r\n" + QByteArray(3'000'000, 'x'));
  for (int i = 0; i < 10; ++i) {
    const Fetched fetched = get();
    EXPECT_EQ(fetched.body.size(), 3'000'000);
    ASSERT_TRUE(fetched.bodyError);
    EXPECT_EQ(fetched.bodyError->code, UrlError::networkConnectionLost);
  }
}

TEST_F(QtHttpDownloaderTest, ABodyLargerThanTheBufferArrivesWhole) {
  QByteArray body(40'000'000, Qt::Uninitialized);
  for (qsizetype i = 0; i < body.size(); ++i) body[i] = static_cast<char>(i % 251);
  serve(Server::response("200 OK", "", body));
  HttpDownloadRequest request;
  request.url = server.url("/file");
  const Fetched fetched = runTaskInLoop(executor, fetch(downloader, request, 100ms));
  EXPECT_TRUE(fetched.body == body) << fetched.body.size();
  EXPECT_FALSE(fetched.bodyError);
  EXPECT_LE(fetched.largestPiece, 1 << 20);
}

}  // namespace
}  // namespace quillmere
