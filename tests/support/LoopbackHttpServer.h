#pragma once
#include <QHostAddress>
#include <QSslConfiguration>
#include <QSslServer>
#include <QTcpSocket>
#include <QTimer>
#include <functional>
#include <map>
#include <vector>

namespace quillmere {

// A web server on 127.0.0.1 whose every byte the test decides. Lives in the test's event loop.
class LoopbackHttpServer {
 public:
  struct Reply {
    QByteArray bytes;           // head and body as they go over the wire
    bool isOpenLeft = false;    // don't close afterwards: a server that falls silent
    QByteArrayList later = {};  // more, each after a pause
    std::chrono::milliseconds pause{0};
  };
  using Handler = std::function<Reply(const QByteArray& request)>;

  // Speaks TLS where a configuration with a certificate is given.
  explicit LoopbackHttpServer(Handler handler, const std::optional<QSslConfiguration>& tls = {})
      : handler_(std::move(handler)), owned_(tls ? std::make_unique<QSslServer>() : std::make_unique<QTcpServer>()) {
    if (tls) static_cast<QSslServer&>(server_).setSslConfiguration(*tls);
    if (!server_.listen(QHostAddress::LocalHost)) qFatal("no loopback socket");
    QObject::connect(&server_, &QTcpServer::pendingConnectionAvailable, &server_, [this] {
      while (QTcpSocket* socket = server_.nextPendingConnection()) {
        ++openConnections;
        ++connections;
        QObject::connect(socket, &QTcpSocket::disconnected, &server_, [this, socket] {
          --openConnections;
          received_.erase(socket);
          socket->deleteLater();
        });
        QObject::connect(socket, &QTcpSocket::readyRead, &server_, [this, socket] { read(socket); });
      }
    });
  }

  quint16 port() const { return server_.serverPort(); }
  QString address() const { return QString("http://127.0.0.1:%1").arg(port()); }
  QUrl url(const QString& path) const { return QUrl(address() + path); }
  void setHandler(Handler handler) { handler_ = std::move(handler); }

  std::vector<QByteArray> requests;  // each as it came, with its empty line
  int openConnections = 0;
  int connections = 0;            // ever
  bool isAnsweringEarly = false;  // at the head of a request, without its body

  // A whole response. The length is announced unless the head names one or an encoding of its own.
  static QByteArray response(const QByteArray& status, const QByteArray& headers, const QByteArray& body) {
    QByteArray bytes = "HTTP/1.1 " + status + "\r\n" + headers;
    const QByteArray lower = headers.toLower();
    if (!lower.contains("content-length:") && !lower.contains("transfer-encoding:") &&
        !lower.contains("connection: close"))
      bytes += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    return bytes + "\r\n" + body;
  }

  // The value of a header of a request, or an empty one.
  static QByteArray header(const QByteArray& request, const QByteArray& name) {
    for (const QByteArray& line : request.split('\n'))
      if (line.left(name.size() + 1).compare(name + ':', Qt::CaseInsensitive) == 0)
        return line.mid(name.size() + 1).trimmed();
    return {};
  }

 private:
  void read(QTcpSocket* socket) {
    QByteArray& received = received_[socket];
    received += socket->readAll();
    const qsizetype head = received.indexOf("\r\n\r\n");
    const bool isTlsGreeting = received.startsWith('\x16');
    if (head < 0 && !isTlsGreeting) return;
    const qint64 body = head < 0 || isAnsweringEarly ? 0 : header(received.left(head), "Content-Length").toLongLong();
    if (received.size() < head + 4 + body) return;
    requests.push_back(std::exchange(received, {}));
    const Reply reply = handler_(requests.back());
    socket->write(reply.bytes);
    send(socket, reply.later, reply);
  }

  void send(QTcpSocket* socket, QByteArrayList pieces, const Reply& reply) {
    if (pieces.isEmpty()) {
      if (!reply.isOpenLeft) socket->disconnectFromHost();
      return;
    }
    QTimer::singleShot(reply.pause, socket, [this, socket, pieces, reply]() mutable {
      socket->write(pieces.takeFirst());
      send(socket, pieces, reply);
    });
  }

  Handler handler_;
  std::map<QTcpSocket*, QByteArray> received_;
  std::unique_ptr<QTcpServer> owned_;
  QTcpServer& server_ = *owned_;
};

}  // namespace quillmere
