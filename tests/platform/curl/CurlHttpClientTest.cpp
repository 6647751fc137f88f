#include "platform/curl/CurlHttpClient.h"

#include <sys/stat.h>

#include <QFile>
#include <QTemporaryDir>

#include "base/async/Async.h"
#include "support/InLoop.h"
#include "support/LoopbackHttpServer.h"
#include "support/WaitUntil.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Server = LoopbackHttpServer;

class CurlHttpClientTest : public testing::Test, protected InLoop {
 protected:
  HttpRequest request(const QString& path = "/x") {
    HttpRequest request;
    request.url = server.url(path);
    request.limits.idle = 5s;
    return request;
  }
  Result<HttpResponse, UrlError> send(const HttpRequest& request) { return run(client.send(request)); }
  Result<HttpResponse, UrlError> post(HttpBody body) {
    HttpRequest request = this->request();
    request.method = "POST";
    request.body = std::move(body);
    return send(request);
  }
  int codeOf(const Result<HttpResponse, UrlError>& response) { return response ? 0 : response.error().code; }
  void serve(const Server::Reply& reply) {
    server.setHandler([reply](const QByteArray&) { return reply; });
  }
  QString file(const QByteArray& content) {
    QFile file(folder.filePath("sound.wav"));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) < 0) qFatal("no file");
    return file.fileName();
  }

  QTemporaryDir folder;
  Server server{[](const QByteArray&) { return Server::Reply{Server::response("200 OK", "", "ok"), true}; }};
  CurlHttpClient client{executor, "1.2.3"};
};

TEST_F(CurlHttpClientTest, SendsExactlyWhatTheRequestSays) {
  HttpForm form{"B-1", {{"file", HttpFile{file("RIFF")}, "a \"b\"\r\nü.wav", "audio/wav"}, {"model", "whisper-1"}}};
  const QByteArray formBytes =
      "--B-1\r\nContent-Disposition: form-data; name=\"file\"; filename=\"a %22b%22%0D%0Aü.wav\"\r\n"
      "Content-Type: audio/wav\r\n\r\nRIFF\r\n"
      "--B-1\r\nContent-Disposition: form-data; name=\"model\"\r\n\r\nwhisper-1\r\n--B-1--\r\n";
  const struct {
    QByteArray method;
    HttpBody body;
    QByteArray headers, bytes;  // beside Host, User-Agent and those of the request
  } cases[] = {
      {"GET", {}, "", ""},
      {"DELETE", {}, "", ""},
      {"POST", {}, "Content-Length: 0\r\n", ""},
      {"POST", QByteArray("{\"a\":1}"), "Content-Length: 7\r\n", "{\"a\":1}"},
      {"PUT", QByteArray(2'000'000, 'x'), "Content-Length: 2000000\r\n", QByteArray(2'000'000, 'x')},
      {"POST", HttpFile{file("RIFF")}, "Content-Length: 4\r\n", "RIFF"},
      {"POST", form,
       "Content-Length: " + QByteArray::number(formBytes.size()) +
           "\r\nContent-Type: multipart/form-data; boundary=B-1\r\n",
       formBytes},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.method.constData());
    server.requests.clear();
    HttpRequest request = this->request("/a%20b/../c?x=1&y=%26#fragment");
    request.method = c.method;
    request.headers = {{"Authorization", "Bearer key"}, {"X-Empty", ""}};
    request.body = c.body;
    const auto response = send(request);
    ASSERT_TRUE(response) << response.error().code;
    EXPECT_EQ(response->body, "ok");
    ASSERT_EQ(server.requests.size(), 1u);
    const qsizetype end = server.requests[0].indexOf("\r\n\r\n");
    QByteArrayList lines = server.requests[0].left(end).replace("\r\n", "\n").split('\n');
    EXPECT_EQ(lines.takeFirst(), c.method + " /a%20b/../c?x=1&y=%26 HTTP/1.1");
    QByteArrayList expected = c.headers.chopped(c.headers.isEmpty() ? 0 : 2).replace("\r\n", "\n").split('\n');
    expected += {"Authorization: Bearer key", "Host: 127.0.0.1:" + QByteArray::number(server.port()),
                 "User-Agent: Quillmere/1.2.3", "X-Empty:"};
    expected.removeAll(QByteArray());
    std::ranges::sort(lines);
    std::ranges::sort(expected);
    EXPECT_EQ(lines, expected);
    EXPECT_TRUE(server.requests[0].mid(end + 4) == c.bytes);
  }
  EXPECT_EQ(server.connections, 1) << "one connection serves them all";
}

TEST_F(CurlHttpClientTest, HostileAnswers) {
  const QByteArray chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n";
  const QByteArray endless = "X-A: " + QByteArray(60'000, 'a') + "\r\n";
  const struct {
    const char* what;
    Server::Reply reply;
    int error;
    QByteArray body = "";
  } cases[] = {
      {"an interim answer first",
       {"HTTP/1.1 102 Processing\r\nX: 1\r\n\r\nHTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok"},
       0,
       "ok"},
      {"chunks that stop", {.bytes = chunked, .later = {""}, .pause = 5ms}, UrlError::networkConnectionLost},
      {"two lengths",
       {"HTTP/1.1 200 OK\r\nContent-Length: 5\r\nContent-Length: abc\r\n\r\nhello"},
       UrlError::badServerResponse},
      {"nothing", {""}, UrlError::networkConnectionLost},
      {"half a head", {"HTTP/1.1 200 OK\r\nContent-Le"}, UrlError::networkConnectionLost},
      {"another protocol", {"220 mail.example ESMTP\r\n\r\n"}, UrlError::badServerResponse},
      {"a head without end",
       {.bytes = "HTTP/1.1 200 OK\r\n", .later = QByteArrayList(100, endless)},
       UrlError::answerTooLarge},
      {"a line without end",
       {.bytes = "HTTP/1.1 200 OK\r\nX: ", .later = QByteArrayList(100, QByteArray(60'000, 'a'))},
       UrlError::answerTooLarge},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    serve(c.reply);
    for (int round = 0; round < 5; ++round) {
      server.requests.clear();
      const auto response = post(QByteArray("words"));
      EXPECT_EQ(codeOf(response), c.error);
      EXPECT_EQ(response ? response->body : QByteArray(), c.body);
      EXPECT_EQ(server.requests.size(), 1u) << "an upload is not sent twice";
    }
  }
}

TEST_F(CurlHttpClientTest, RedirectsStayWithTheServer) {
  Server other([](const QByteArray&) { return Server::Reply{Server::response("200 OK", "", "stolen")}; });
  const struct {
    const char* status;
    QString target;
    int error;
    QByteArray again = "";  // the second request's first line
  } cases[] = {
      {"302 Found", "/y?z=1", 0, "GET /y?z=1"},
      {"303 See", "y", 0, "GET /y"},
      {"308 Permanent", server.address() + "/y", 0, "POST /y"},
      {"302 Found", "/x", UrlError::tooManyRedirects},
      {"307 Temporary", other.address() + "/x", UrlError::redirectRefused},
      {"301 Moved", "http://localhost/x", UrlError::redirectRefused},
      {"301 Moved", "https://127.0.0.1:" + QString::number(server.port()), UrlError::redirectRefused},
      {"302 Found", "file:///etc/passwd", UrlError::redirectRefused},
      {"302 Found", "//", UrlError::redirectRefused},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.target.toStdString() + " " + c.status);
    server.requests.clear();
    server.setHandler([&](const QByteArray& request) {
      const bool isFirst = request.contains(" /x ");
      return Server::Reply{isFirst ? Server::response(c.status, "Location: " + c.target.toUtf8() + "\r\n", "moved")
                                   : Server::response("200 OK", "", "arrived")};
    });
    const auto response = post(HttpFile{file("words")});
    EXPECT_EQ(codeOf(response), c.error);
    EXPECT_LE(server.requests.size(), 12u);
    if (c.error != 0) continue;
    EXPECT_EQ(response->body, "arrived");
    EXPECT_TRUE(server.requests.back().startsWith(c.again + " HTTP/1.1")) << server.requests.back().constData();
    EXPECT_EQ(server.requests.back().endsWith("words"), c.again.startsWith("POST"));
  }
  EXPECT_TRUE(other.requests.empty());
}

TEST_F(CurlHttpClientTest, UploadsThatGoWrong) {
  const QString path = file("x");
  ASSERT_TRUE(QFile::resize(path, 100'000'000));  // more than the sockets hold
  const QString pipe = folder.filePath("pipe");
  ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
  EXPECT_EQ(codeOf(post(HttpFile{folder.filePath("none")})), UrlError::fileDoesNotExist);
  EXPECT_EQ(codeOf(post(HttpFile{folder.path()})), UrlError::fileNotReadable);
  EXPECT_EQ(codeOf(post(HttpFile{pipe})), UrlError::fileNotReadable);
  EXPECT_TRUE(server.requests.empty());

  server.isAnsweringEarly = true;
  serve({Server::response("413 Too Large", "", "no"), true});
  const auto refused = post(HttpFile{path});
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->head.statusCode, 413);
  serve({""});
  EXPECT_EQ(codeOf(post(HttpFile{path})), UrlError::networkConnectionLost);
  server.setHandler([&](const QByteArray&) {
    QFile::resize(path, 1000);
    return Server::Reply{"", true};
  });
  EXPECT_EQ(codeOf(post(HttpFile{path})), UrlError::fileNotReadable);
}

TEST_F(CurlHttpClientTest, ServersThatAreNotThere) {
  quint16 closed = 0;
  {
    QTcpServer gone;
    ASSERT_TRUE(gone.listen(QHostAddress::LocalHost));
    closed = gone.serverPort();
  }
  const struct {
    QString url;
    int error;
  } cases[] = {
      {QString("http://127.0.0.1:%1/").arg(closed), UrlError::cannotConnectToHost},
      {"http://nobody.invalid/", UrlError::cannotFindHost},
      {server.address().replace("http", "https"), UrlError::timedOut},  // connected, but no TLS
  };
  serve({"", true});
  for (const auto& c : cases) {
    HttpRequest request;
    request.url = QUrl(c.url);
    request.limits.connect = 300ms;
    const int code = codeOf(send(request));
    EXPECT_TRUE(code == c.error || (c.error == UrlError::cannotFindHost && code == UrlError::timedOut))
        << c.url.toStdString() << code;
  }
}

TEST_F(CurlHttpClientTest, ACancelBeforeTheAnswerHangsUp) {
  serve({"", true});
  for (const char* scheme : {"http", "https"}) {
    HttpRequest request = this->request();
    request.url.setScheme(scheme);
    TaskScope scope(executor);
    auto handle = scope.spawn(client.send(request));
    ASSERT_TRUE(waitUntil([&] { return server.openConnections == 1; }));
    handle.cancel();
    EXPECT_THROW(std::ignore = run(handle.join()), Cancelled);
    EXPECT_TRUE(waitUntil([&] { return server.openConnections == 0; }));
  }
}

Task<QByteArray> readSlowly(HttpClient& client, HttpRequest request) {
  auto opened = co_await client.open(std::move(request));
  QByteArray body;
  for (;;) {
    co_await sleepFor(3ms);
    const auto piece = co_await (*opened)->read();
    if (!piece || piece->isEmpty()) co_return body;
    body += *piece;
  }
}

TEST_F(CurlHttpClientTest, ASlowReaderHoldsTheNetworkUpAndLosesNothing) {
  QByteArray body(20'000'000, Qt::Uninitialized);
  for (qsizetype i = 0; i < body.size(); ++i) body[i] = char(i % 251);
  serve({Server::response("200 OK", "", body)});
  HttpRequest request = this->request();
  request.limits.idle = 100ms;
  EXPECT_TRUE(run(readSlowly(client, request)) == body);
}

TEST_F(CurlHttpClientTest, APreparedConnectionIsTakenUp) {
  client.prepare(server.url("/secret?key=1"));
  ASSERT_TRUE(waitUntil([&] { return server.requests.size() == 1; }));
  EXPECT_FALSE(server.requests[0].contains("secret"));
  // Its answer is under way still.
  ASSERT_TRUE(waitUntil([&] { return send(request()).hasValue(); }));
  ASSERT_TRUE(send(request()));
  EXPECT_LE(server.connections, 2);
}

TEST_F(CurlHttpClientTest, AProxyOfTheEnvironmentIsUsedButNotForThisComputer) {
  Server proxy([](const QByteArray&) { return Server::Reply{Server::response("200 OK", "", "by proxy")}; });
  qputenv("http_proxy", proxy.address().toUtf8());
  HttpRequest request = this->request();
  EXPECT_EQ(send(request)->body, "ok");
  request.url = QUrl("http://service.invalid/x");
  EXPECT_EQ(send(request)->body, "by proxy");
  qunsetenv("http_proxy");
  EXPECT_TRUE(proxy.requests[0].startsWith("GET http://service.invalid/x "));
}

}  // namespace
}  // namespace quillmere
