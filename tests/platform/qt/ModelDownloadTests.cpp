// The model manager over real sockets: what the fake web of its own tests could get wrong.
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "base/async/Async.h"
#include "models/WhisperModelManager.h"
#include "platform/qt/QtExecutor.h"
#include "platform/qt/QtHttpDownloader.h"
#include "support/LoopbackHttpServer.h"
#include "support/RecordingLogSink.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

using Server = LoopbackHttpServer;

class ModelDownloadTest : public testing::Test {
 protected:
  ModelDownloadTest() {
    for (qsizetype i = 0; i < model.size(); ++i) model[i] = static_cast<char>((i * 31) ^ (i >> 9));
    configuration.modelsDirectory = folder.filePath("models");
    configuration.hubBaseUrl = [this] { return server.address(); };
    configuration.checksums = {
        {"ggml-base.bin", QString::fromLatin1(QCryptographicHash::hash(model, QCryptographicHash::Sha256).toHex())}};
  }

  void download() {
    WhisperModelManager manager(configuration, downloader, executor, pool, Logging(log));
    const auto found = std::ranges::find(manager.availableModels(), "base", &WhisperCppModel::name);
    ASSERT_NE(found, manager.availableModels().end());
    const auto subscription = manager.observeDownloadProgress([this](const QMap<QString, double>& values) {
      if (values.contains("base")) progress.push_back(values["base"]);
    });
    const WhisperCppModel base = *found;
    runTaskInLoop(executor, manager.download(base));
    error = manager.errorMessage().value_or(QString());
  }

  // A server that knows ranges, and hangs up `breaksAfter` bytes into each body.
  Server::Reply serveRange(const QByteArray& request, qsizetype breaksAfter) {
    qsizetype first = 0;
    QByteArray status = "200 OK", headers = "ETag: " + etag + "\r\n";
    const QByteArray range = Server::header(request, "Range");
    if (!range.isEmpty() && Server::header(request, "If-Range") == etag) {
      first = range.mid(6).chopped(1).toLongLong();
      status = "206 Partial Content";
      headers += "Content-Range: bytes " + QByteArray::number(first) + '-' + QByteArray::number(model.size() - 1) +
                 '/' + QByteArray::number(model.size()) + "\r\n";
    }
    const QByteArray body = model.mid(first);
    headers += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    return {Server::response(status, headers, body.left(breaksAfter))};
  }

  // Qt sends a request again by itself where a connection closes early, so repetitions count once.
  QByteArrayList ranges() const {
    QByteArrayList result;
    for (const QByteArray& request : server.requests)
      if (const QByteArray range = Server::header(request, "Range"); !result.contains(range)) result << range;
    return result;
  }
  void expectInstalled() {
    EXPECT_EQ(error, QString());
    QFile file(folder.filePath("models/ggml-base.bin"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll() == model);
    EXPECT_EQ(QDir(folder.filePath("models")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{"ggml-base.bin"});
  }

  QTemporaryDir folder;
  QByteArray model = QByteArray(5'000'000, Qt::Uninitialized);
  QByteArray etag = "\"v1\"";
  QtExecutor executor;
  WorkerPool pool{1};
  QtHttpDownloader downloader{"1"};
  std::shared_ptr<RecordingLogSink> log = std::make_shared<RecordingLogSink>();
  Server server{[this](const QByteArray& request) { return serveRange(request, 1 << 30); }};
  WhisperModelManagerConfiguration configuration;
  std::vector<double> progress;
  QString error;
};

TEST_F(ModelDownloadTest, GoesOnAfterABreak) {
  server.setHandler([this](const QByteArray& request) { return serveRange(request, 3'000'000); });
  download();
  expectInstalled();
  EXPECT_EQ(ranges(), QByteArrayList({"", "bytes=3000000-"}));
}

TEST_F(ModelDownloadTest, ThroughARedirectAndWithoutALength) {
  server.setHandler([this](const QByteArray& request) {
    if (request.startsWith("GET /storage"))
      return Server::Reply{"HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n" + model};
    return Server::Reply{Server::response("302 Found", "Location: /storage/1234?signature=abc\r\n", "")};
  });
  download();
  expectInstalled();
  EXPECT_EQ(progress.back(), -5'000'000.0);
}

}  // namespace
}  // namespace quillmere
