#include "platform/websockets/QtWebSocket.h"

#include <QCryptographicHash>
#include <QWebSocket>
#include <QWebSocketServer>

#include "base/async/Async.h"
#include "support/InLoop.h"
#include "support/LoopbackHttpServer.h"
#include "support/WaitUntil.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Server = LoopbackHttpServer;

QByteArray handshake(const QByteArray& request) {
  const QByteArray key = Server::header(request, "Sec-WebSocket-Key") + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
  return "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Accept: " +
         QCryptographicHash::hash(key, QCryptographicHash::Sha1).toBase64() + "\r\n\r\n";
}

class QtWebSocketTest : public testing::Test, protected InLoop {
 protected:
  QtWebSocket client{"1.2.3"};
};

TEST_F(QtWebSocketTest, WhatIsNoWebSocketIsRefused) {
  Server server(nullptr);
  const struct {
    const char* what;
    Server::Reply reply;
    int error;
  } cases[] = {
      {"a status", {Server::response("401 Unauthorized", "", "no")}, UrlError::badServerResponse},
      {"a redirect",
       {Server::response("302 Found", "Location: ws://127.0.0.1:1/\r\n", "")},
       UrlError::badServerResponse},
      {"another protocol", {"220 mail.example ESMTP\r\n\r\n"}, UrlError::badServerResponse},
      {"a key that does not fit",
       {"HTTP/1.1 101 S\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Accept: x\r\n\r\n"},
       UrlError::badServerResponse},
      {"a head without end",
       {.bytes = "HTTP/1.1 101 S\r\nX: ", .later = QByteArrayList(20, QByteArray(60'000, 'a'))},
       UrlError::badServerResponse},
      {"nothing", {""}, UrlError::networkConnectionLost},
      {"silence", {"", true}, UrlError::timedOut},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    server.setHandler([&](const QByteArray&) { return c.reply; });
    WebSocketRequest request{server.url("/live?key=1"), {{"Authorization", "Token x"}}};
    request.url.setScheme("ws");
    request.connectLimit = 300ms;
    const auto opened = run(client.connect(request));
    ASSERT_FALSE(opened);
    EXPECT_EQ(opened.error().code, c.error);
    EXPECT_EQ(Server::header(server.requests.back(), "Authorization"), "Token x");
    EXPECT_TRUE(waitUntil([&] { return server.openConnections == 0; }));
  }
  const struct {
    WebSocketRequest request;
    int error;
  } unsent[] = {{{QUrl("http://127.0.0.1/")}, UrlError::badUrl},
                {{QUrl("ws://")}, UrlError::badUrl},
                {{QUrl("ws://127.0.0.1:1/")}, UrlError::cannotConnectToHost},
                {{QUrl("ws://127.0.0.1/"), {{"X", "a\r\nY: b"}}}, -1}};
  for (const auto& c : unsent) {
    const auto opened = run(client.connect(c.request));
    EXPECT_EQ(opened ? 0 : opened.error().code, c.error) << c.request.url.toString().toStdString();
  }
}

TEST_F(QtWebSocketTest, HostileFrames) {
  const struct {
    const char* what;
    QByteArray frames;
    int code;
  } cases[] = {
      {"no UTF-8", QByteArray("\x81\x01\xff", 3), 1007},
      {"a length beyond everything", QByteArray("\x82\x7f\x7f\xff\xff\xff\xff\xff\xff\xff", 10), 1009},
      {"a message in too many pieces", QByteArray("\x01\x7e\x13\x88", 4) + QByteArray(5000, 'a'), 1009},
      {"the end within a frame",
       QByteArray("\x82\x05"
                  "ab",
                  4),
       WebSocketEnd::abnormal},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Server server([&](const QByteArray& request) {
      return Server::Reply{.bytes = handshake(request),
                           .isOpenLeft = c.code != WebSocketEnd::abnormal,
                           .later = {c.frames},
                           .pause = 20ms};
    });
    WebSocketRequest request{server.url("/")};
    request.url.setScheme("ws");
    request.messageBytes = 4000;
    const auto opened = run(client.connect(request));
    ASSERT_TRUE(opened);
    const auto end = run(withTimeout(5s, (*opened)->receive()));
    ASSERT_TRUE(end && !*end);
    EXPECT_EQ(end->error().code, c.code);
  }
}

TEST_F(QtWebSocketTest, UnreadMessagesDoNotPileUpForEver) {
  QWebSocketServer server("test", QWebSocketServer::NonSecureMode);
  ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
  QObject::connect(&server, &QWebSocketServer::newConnection, &server, [&] {
    QWebSocket* const peer = server.nextPendingConnection();
    peer->setParent(&server);
    for (int i = 0; i < 40; ++i) peer->sendBinaryMessage(QByteArray(500'000, 'x'));
  });
  const auto opened = run(client.connect({server.serverUrl()}));
  ASSERT_TRUE(opened);
  ASSERT_TRUE(waitUntil([&] { return !(*opened)->isOpen(); }));
  for (;;) {
    const auto message = run((*opened)->receive());
    if (message) continue;
    EXPECT_EQ(message.error().error.value_or(UrlError{}).code, UrlError::answerTooLarge);
    break;
  }
}

}  // namespace
}  // namespace quillmere
