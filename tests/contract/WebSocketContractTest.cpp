#include <QTcpServer>
#include <QTcpSocket>
#include <QWebSocket>
#include <QWebSocketServer>

#include "platform/qt/QtExecutor.h"
#include "platform/websockets/QtWebSocket.h"
#include "support/FakeWebSocket.h"
#include "support/RunTask.h"
#include "support/WaitUntil.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Kind = WebSocketMessage::Kind;

// What holds for every WebSocket, on the fake and against a server on the loopback interface.
struct FakeNet {
  QtExecutor executor;
  FakeWebSocket client;
  QUrl url() const { return QUrl("ws://socket.test/live?a=b"); }
  bool isReady() { return true; }
  void deliver(const WebSocketMessage& message) { client.peer.deliver(message); }
  void end(int code, const QString& reason) {
    if (code == WebSocketEnd::abnormal)
      client.peer.finish({code, {}, urlError(UrlError::networkConnectionLost)});
    else
      client.peer.finish({code, reason, std::nullopt});
  }
  std::vector<WebSocketMessage> got() const { return client.peer.sent; }
  std::optional<int> goodbye() const {
    return client.peer.goodbye ? std::optional(client.peer.goodbye->code) : std::nullopt;
  }
  bool isConnected() const { return client.peer.connections > 0; }
  void stall(bool isStalled) {
    client.peer.isStalled = isStalled;
    client.peer.change.resolve();
  }
};

struct RealNet {
  RealNet() {
    server.listen(QHostAddress::LocalHost);
    QObject::connect(&server, &QWebSocketServer::newConnection, &server, [this] {
      peer.reset(server.nextPendingConnection());
      QObject::connect(peer.get(), &QWebSocket::textMessageReceived, &server, [this](const QString& text) {
        messages.push_back({Kind::text, text.toUtf8()});
      });
      QObject::connect(peer.get(), &QWebSocket::binaryMessageReceived, &server, [this](const QByteArray& bytes) {
        messages.push_back({Kind::binary, bytes});
      });
    });
  }
  QUrl url() const { return QUrl(QStringLiteral("ws://127.0.0.1:%1/live?a=b").arg(server.serverPort())); }
  bool isReady() {
    return waitUntil([this] { return peer != nullptr; });
  }
  void deliver(const WebSocketMessage& message) {
    if (message.kind == Kind::text)
      peer->sendTextMessage(QString::fromUtf8(message.bytes));
    else
      peer->sendBinaryMessage(message.bytes);
  }
  void end(int code, const QString& reason) {
    if (code == WebSocketEnd::abnormal) return peer->abort();
    peer->close(QWebSocketProtocol::CloseCode(code), reason);
  }
  std::vector<WebSocketMessage> got() const { return messages; }
  std::optional<int> goodbye() const { return isConnected() ? std::nullopt : std::optional(int(peer->closeCode())); }
  bool isConnected() const { return peer && peer->state() == QAbstractSocket::ConnectedState; }
  // Reads nothing more from its socket.
  void stall(bool isStalled) { peer->setReadBufferSize(isStalled ? 1 : 0); }

  QtExecutor executor;
  QWebSocketServer server{"test", QWebSocketServer::NonSecureMode};
  std::unique_ptr<QWebSocket> peer;
  std::vector<WebSocketMessage> messages;
  QtWebSocket client{"1.2.3"};
};

template <typename Net>
class WebSocketContract : public testing::Test {
 protected:
  void SetUp() override { connect(); }
  // To a new server.
  void connect() {
    connection.reset();
    net.emplace();
    auto opened = run(net->client.connect({net->url(), {{"Authorization", "Bearer key"}}}));
    ASSERT_TRUE(opened) << opened.error().code;
    connection = std::move(*opened);
    ASSERT_TRUE(net->isReady());
  }
  template <typename T>
  T run(Task<T> task) {
    return runTaskInLoop(net->executor, std::move(task));
  }
  std::optional<Net> net;
  std::unique_ptr<WebSocketConnection> connection;
};

using Nets = testing::Types<FakeNet, RealNet>;
TYPED_TEST_SUITE(WebSocketContract, Nets);

TYPED_TEST(WebSocketContract, MessagesGoBothWaysInOrder) {
  const std::vector<WebSocketMessage> messages = {{Kind::text, R"({"type":"stop"})"},
                                                  {Kind::binary, QByteArray("\0\xff", 2)},
                                                  {Kind::text, "Größe 🙂"},
                                                  {Kind::text, ""},
                                                  {Kind::binary, QByteArray(700'000, 'x')}};
  for (const auto& message : messages) {
    EXPECT_TRUE(this->connection->send(message));
    this->net->deliver(message);
  }
  for (const auto& message : messages) EXPECT_EQ(*this->run(this->connection->receive()), message);
  EXPECT_TRUE(this->run(this->connection->waitUntilSent()));
  EXPECT_TRUE(waitUntil([&] { return this->net->got() == messages; }));
  EXPECT_TRUE(this->run(this->connection->ping()));
}

TYPED_TEST(WebSocketContract, AnEndComesAfterWhatWasSaidBefore) {
  for (const int code : {1000, 4001, WebSocketEnd::abnormal}) {
    SCOPED_TRACE(code);
    this->connect();
    if (code != WebSocketEnd::abnormal) this->net->deliver({Kind::text, "last"});
    this->net->end(code, "bye");
    if (code != WebSocketEnd::abnormal) {
      EXPECT_EQ(this->run(this->connection->receive())->bytes, "last");
    }
    for (int again = 0; again < 2; ++again) {
      const auto end = this->run(this->connection->receive());
      ASSERT_FALSE(end);
      EXPECT_EQ(end.error().code, code);
      EXPECT_EQ(end.error().reason, code == WebSocketEnd::abnormal ? "" : "bye");
      EXPECT_EQ(end.error().error.has_value(), code == WebSocketEnd::abnormal);
    }
    EXPECT_FALSE(this->connection->isOpen());
    EXPECT_FALSE(this->connection->send({Kind::text, "too late"}));
    EXPECT_FALSE(this->run(this->connection->waitUntilSent()));
    EXPECT_FALSE(this->run(this->connection->ping()));
    this->run(this->connection->close());
  }
}

TYPED_TEST(WebSocketContract, OurGoodbye) {
  this->connection->send({Kind::text, "stop"});
  this->run(this->connection->close(4002, "done"));
  EXPECT_TRUE(waitUntil([&] { return this->net->goodbye() == 4002; }));
  EXPECT_EQ(this->net->got().size(), 1u);
  const auto end = this->run(this->connection->receive());
  EXPECT_EQ(end ? 0 : end.error().code, 4002);
}

TYPED_TEST(WebSocketContract, ACancelledReceiveLosesNothing) {
  TaskScope scope(this->net->executor);
  auto handle = scope.spawn(this->connection->receive());
  this->run(yieldNow());
  handle.cancel();
  EXPECT_THROW(std::ignore = this->run(handle.join()), Cancelled);
  this->net->deliver({Kind::text, "kept"});
  EXPECT_EQ(this->run(this->connection->receive())->bytes, "kept");
  this->connection.reset();
  EXPECT_TRUE(waitUntil([&] { return !this->net->isConnected(); }));
}

TYPED_TEST(WebSocketContract, WhatTheServerDoesNotTakeIsCounted) {
  this->net->stall(true);
  for (int i = 0; i < 30; ++i) this->connection->send({Kind::binary, QByteArray(1'000'000, 'x')});
  const auto sent = this->run(withTimeout(100ms, this->connection->waitUntilSent()));
  EXPECT_FALSE(sent.has_value());
  EXPECT_GT(this->connection->bytesWaiting(), 1'000'000);
  this->net->stall(false);
  if constexpr (std::is_same_v<TypeParam, RealNet>) return;  // its server has lost the habit of reading
  EXPECT_TRUE(this->run(this->connection->waitUntilSent()));
  EXPECT_EQ(this->connection->bytesWaiting(), 0);
}

}  // namespace
}  // namespace quillmere
