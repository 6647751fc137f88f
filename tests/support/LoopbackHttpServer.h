#pragma once
#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <functional>
#include <vector>

namespace quillmere {

// A web server on 127.0.0.1 whose every byte the test decides. Lives in the test's event loop.
class LoopbackHttpServer {
 public:
  struct Reply {
    QByteArray bytes;         // head and body as they go over the wire
    bool isOpenLeft = false;  // don't close behind it: a server that falls silent
  };
  using Handler = std::function<Reply(const QByteArray& request)>;

  explicit LoopbackHttpServer(Handler handler) : handler_(std::move(handler)) {
    if (!server_.listen(QHostAddress::LocalHost)) qFatal("no loopback socket");
    QObject::connect(&server_, &QTcpServer::newConnection, &server_, [this] {
      while (QTcpSocket* socket = server_.nextPendingConnection()) {
        ++openConnections;
        QObject::connect(socket, &QTcpSocket::disconnected, &server_, [this, socket] {
          --openConnections;
          socket->deleteLater();
        });
        QObject::connect(socket, &QTcpSocket::readyRead, &server_, [this, socket] { read(socket); });
      }
    });
  }

  quint16 port() const { return server_.serverPort(); }
  QString address() const { return QStringLiteral("http://127.0.0.1:%1").arg(port()); }
  QUrl url(const QString& path) const { return QUrl(address() + path); }
  void setHandler(Handler handler) { handler_ = std::move(handler); }

  std::vector<QByteArray> requests;  // each as it came, with its empty line
  int openConnections = 0;

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
    const QByteArray request = socket->property("request").toByteArray() + socket->readAll();
    socket->setProperty("request", request);
    const bool isTlsGreeting = request.startsWith('\x16');
    if (!request.contains("\r\n\r\n") && !isTlsGreeting) return;
    socket->setProperty("request", QByteArray());
    requests.push_back(request);
    const Reply reply = handler_(request);
    socket->write(reply.bytes);
    if (!reply.isOpenLeft) socket->disconnectFromHost();
  }

  Handler handler_;
  QTcpServer server_;
};

}  // namespace quillmere
