#include <QFile>
#include <QProcess>
#include <QSslCertificate>
#include <QSslKey>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "platform/curl/CurlHttpClient.h"
#include "platform/qt/QtExecutor.h"
#include "platform/websockets/QtWebSocket.h"
#include "support/LoopbackHttpServer.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

// An authority of the test's own and what it signs.
class Certificates {
 public:
  Certificates() {
    run(newKey("authority") + QStringList{"-x509", "-subj", "/CN=Test", "-days", "2", "-out", authority()});
  }
  QString authority() const { return folder_.filePath("authority.pem"); }
  // What a server of that name shows.
  QSslConfiguration server(const QString& name, const QStringList& signing) const {
    const QString request = folder_.filePath("request"), certificate = folder_.filePath("server.pem");
    run(newKey("server") +
        QStringList{"-subj", "/CN=" + name, "-addext", "subjectAltName=DNS:" + name, "-out", request});
    run(QStringList{"x509", "-req", "-in", request, "-copy_extensions", "copy", "-out", certificate} + signing);
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(QSslCertificate::fromPath(certificate).value(0));
    QFile key(folder_.filePath("server.key"));
    if (!key.open(QIODevice::ReadOnly)) qFatal("no key");
    configuration.setPrivateKey(QSslKey(&key, QSsl::Ec));
    return configuration;
  }
  QStringList byAuthority(int days) const {
    return {"-CA", authority(), "-CAkey", folder_.filePath("authority.key"), "-days", QString::number(days)};
  }
  QStringList byItself() const { return {"-key", folder_.filePath("server.key")}; }

 private:
  QStringList newKey(const QString& name) const {
    const QString options = "req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout";
    return options.split(' ') + QStringList{folder_.filePath(name + ".key")};
  }
  static void run(const QStringList& arguments) {
    if (QProcess::execute("openssl", arguments) != 0) qFatal("openssl %s", qPrintable(arguments.join(' ')));
  }
  QTemporaryDir folder_;
};

TEST(Certificates, OnlyTheRightOneIsTrusted) {
  if (QStandardPaths::findExecutable("openssl").isEmpty()) GTEST_SKIP() << "openssl is needed";
  const Certificates certificates;
  const struct {
    const char* what;
    QSslConfiguration tls;
    int error;
  } cases[] = {
      {"right", certificates.server("localhost", certificates.byAuthority(2)), 0},
      {"another name", certificates.server("elsewhere.test", certificates.byAuthority(2)),
       UrlError::certificateUntrusted},
      {"out of date", certificates.server("localhost", certificates.byAuthority(-1)), UrlError::certificateOutOfDate},
      {"signed by itself", certificates.server("localhost", certificates.byItself()),
       UrlError::certificateOfUnknownAuthority},
  };
  QtExecutor executor;
  CurlHttpClient http(executor, "1", certificates.authority()), httpOfTheSystem(executor, "1");
  QSslConfiguration trust = QSslConfiguration::defaultConfiguration();
  trust.setCaCertificates(QSslCertificate::fromPath(certificates.authority()));
  QtWebSocket sockets("1", trust), socketsOfTheSystem("1");
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    LoopbackHttpServer server(
        [](const QByteArray&) { return LoopbackHttpServer::Reply{LoopbackHttpServer::response("200 OK", "", "ok")}; },
        c.tls);
    const auto sent = [&](HttpClient& client) {
      HttpRequest request;
      request.url = QUrl(QString("https://localhost:%1/").arg(server.port()));
      const auto response = runTaskInLoop(executor, client.send(request));
      return response ? 0 : response.error().code;
    };
    const auto connected = [&](WebSocket& client) {
      const auto opened =
          runTaskInLoop(executor, client.connect({QUrl(QString("wss://localhost:%1/").arg(server.port()))}));
      // A web page is no WebSocket, but it came through.
      return opened || opened.error().code == UrlError::badServerResponse ? 0 : opened.error().code;
    };
    EXPECT_EQ(sent(http), c.error);
    EXPECT_EQ(connected(sockets), c.error);
    EXPECT_NE(sent(httpOfTheSystem), 0);
    EXPECT_NE(connected(socketsOfTheSystem), 0);
  }
}

}  // namespace
}  // namespace quillmere
