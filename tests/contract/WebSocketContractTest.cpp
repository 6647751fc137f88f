#include <QWebSocket>
#include <QWebSocketServer>

#include "contract/Sides.h"
#include "platform/websockets/QtWebSocket.h"
#include "support/FakeWebSocket.h"
#include "support/WaitUntil.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Kind = WebSocketMessage::Kind;

struct FakeSide : InLoop {
  QUrl url() const { return QUrl("ws://socket.test/live?a=b"); }
  bool isConnected() const { return client.peer.connections > 0; }
  void deliver(const WebSocketMessage& message) { client.peer.deliver(message); }
  void leave(int code) { client.peer.finish({code, "bye", std::nullopt}); }
  void breakOff() { client.peer.finish({WebSocketEnd::abnormal, {}, urlError(UrlError::networkConnectionLost)}); }
  void stall() { client.peer.isStalled = true; }
  std::vector<WebSocketMessage> got() const { return client.peer.sent; }
  int goodbye() const { return client.peer.goodbye.value_or(WebSocketEnd{}).code; }
  FakeWebSocket client;
};

struct QtSide : InLoop {
  QtSide() {
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
  QUrl url() const { return server.serverUrl(); }
  bool isConnected() const { return peer && peer->state() == QAbstractSocket::ConnectedState; }
  void deliver(const WebSocketMessage& message) {
    if (message.kind == Kind::text)
      peer->sendTextMessage(QString::fromUtf8(message.bytes));
    else
      peer->sendBinaryMessage(message.bytes);
  }
  void leave(int code) { peer->close(QWebSocketProtocol::CloseCode(code), "bye"); }
  void breakOff() { peer->abort(); }
  void stall() { peer->setReadBufferSize(1); }  // reads nothing more from its socket
  std::vector<WebSocketMessage> got() const { return messages; }
  int goodbye() const { return int(peer->closeCode()); }

  QWebSocketServer server{"test", QWebSocketServer::NonSecureMode};
  std::vector<WebSocketMessage> messages;
  std::unique_ptr<QWebSocket> peer;
  QtWebSocket client{"1.2.3"};
};

template <typename Side>
class WebSocketContract : public testing::Test, public Side {
 protected:
  void SetUp() override {
    auto opened = this->run(this->client.connect({this->url()}));
    ASSERT_TRUE(opened) << opened.error().code;
    connection = std::move(*opened);
    ASSERT_TRUE(waitUntil([this] { return this->isConnected(); }));
  }
  void expectEnd(int code, const QString& reason) {
    for (int again = 0; again < 2; ++again) {
      const auto end = this->run(connection->receive());
      ASSERT_FALSE(end);
      EXPECT_EQ(end.error().code, code);
      EXPECT_EQ(end.error().reason, reason);
      EXPECT_EQ(end.error().error.has_value(), code == WebSocketEnd::abnormal);
    }
    EXPECT_FALSE(connection->isOpen());
    EXPECT_FALSE(connection->send({Kind::text, "too late"}));
    EXPECT_FALSE(this->run(connection->waitUntilSent()));
    EXPECT_FALSE(this->run(connection->ping()));
    this->run(connection->close());
  }
  std::unique_ptr<WebSocketConnection> connection;
};
using Sides = testing::Types<FakeSide, QtSide>;
TYPED_TEST_SUITE(WebSocketContract, Sides, SideNames);

TYPED_TEST(WebSocketContract, MessagesGoBothWaysInOrder) {
  const std::vector<WebSocketMessage> messages = {{Kind::binary, QByteArray("\0\xff", 2)},
                                                  {Kind::text, "Größe 🙂"},
                                                  {Kind::text, ""},
                                                  {Kind::binary, QByteArray(700'000, 'x')}};
  for (const auto& message : messages) {
    EXPECT_TRUE(this->connection->send(message));
    this->deliver(message);
  }
  for (const auto& message : messages) EXPECT_EQ(*this->run(this->connection->receive()), message);
  EXPECT_TRUE(this->run(this->connection->waitUntilSent()));
  EXPECT_TRUE(waitUntil([&] { return this->got() == messages; }));
  EXPECT_TRUE(this->run(this->connection->ping()));
}

TYPED_TEST(WebSocketContract, AnEndComesAfterWhatWasSaidBefore) {
  this->deliver({Kind::text, "last"});
  this->leave(4001);
  EXPECT_EQ(this->run(this->connection->receive())->bytes, "last");
  this->expectEnd(4001, "bye");
}

TYPED_TEST(WebSocketContract, ALostConnectionIsAnError) {
  this->breakOff();
  this->expectEnd(WebSocketEnd::abnormal, "");
}

TYPED_TEST(WebSocketContract, OurGoodbyeComesAfterWhatWeSaid) {
  this->connection->send({Kind::text, "stop"});
  this->run(this->connection->close(4002, "done"));
  EXPECT_TRUE(waitUntil([&] { return this->goodbye() == 4002; }));
  EXPECT_EQ(this->got().size(), 1u);
  const auto end = this->run(this->connection->receive());
  EXPECT_EQ(end ? 0 : end.error().code, 4002);
}

TYPED_TEST(WebSocketContract, ACancelledReceiveLosesNothing) {
  TaskScope scope(this->executor);
  auto handle = scope.spawn(this->connection->receive());
  this->run(yieldNow());
  handle.cancel();
  EXPECT_THROW(std::ignore = this->run(handle.join()), Cancelled);
  this->deliver({Kind::text, "kept"});
  EXPECT_EQ(this->run(this->connection->receive())->bytes, "kept");
  this->connection.reset();
  EXPECT_TRUE(waitUntil([&] { return !this->isConnected(); }));
}

TYPED_TEST(WebSocketContract, WhatTheServerDoesNotTakeIsCounted) {
  this->stall();
  for (int i = 0; i < 30; ++i) this->connection->send({Kind::binary, QByteArray(1'000'000, 'x')});
  EXPECT_FALSE(this->run(withTimeout(100ms, this->connection->waitUntilSent())).has_value());
  EXPECT_GT(this->connection->bytesWaiting(), 1'000'000);
}

}  // namespace
}  // namespace quillmere
