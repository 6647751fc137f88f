#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cstdlib>

#include "models/ModelTransfer.h"
#include "support/FakeHttpDownloader.h"
#include "support/RunTask.h"

namespace {

using namespace quillmere;

const QByteArray wanted = "0123456789abcdef";

// "206\nETag: \"v1\"\nContent-Length: 3\n\nthe body": a status, headers, an empty line, the body.
FakeHttpAnswer answerFrom(const QByteArray& text) {
  FakeHttpAnswer answer;
  const qsizetype head = text.indexOf("\n\n");
  const QByteArrayList lines = text.left(head < 0 ? text.size() : head).split('\n');
  answer.statusCode = std::clamp(lines.first().toInt(), 100, 999);
  for (const QByteArray& line : lines.mid(1))
    if (const qsizetype colon = line.indexOf(':'); colon > 0)
      answer.headers.append({line.left(colon), line.mid(colon + 1).trimmed()});
  if (head >= 0) answer.body = text.mid(head + 2);
  return answer;
}

}  // namespace

// What a hostile server answers to a download, one answer after the other, with a zero byte between two: no file gets
// its name that isn't the right one.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const QTemporaryDir folder;
  static WorkerPool pool{1};
  QByteArrayList answers = QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)).split('\0');
  ManualExecutor executor;
  FakeHttpDownloader web;
  web.answer = [&](const HttpDownloadRequest&) {
    return answers.isEmpty() ? FakeHttpAnswer{.statusCode = 404} : answerFrom(answers.takeFirst());
  };
  const QString path = folder.filePath("model");
  ModelTransfer transfer(web, executor, pool, {}, [](const QString&) { return qint64{1} << 30; });
  for (int attempt = 0; attempt < 2; ++attempt) {
    const QByteArray sum = QCryptographicHash::hash(wanted, QCryptographicHash::Sha256).toHex();
    ModelTransferRequest request{"model", {{QUrl("https://hub.example/model"), path, QString::fromLatin1(sum)}}};
    const bool isDone = runTask(executor, transfer.download(std::move(request))).hasValue();
    QFile file(path);
    if (isDone != file.exists()) std::abort();
    if (isDone && (!file.open(QIODevice::ReadOnly) || file.readAll() != wanted)) std::abort();
    if (isDone) break;
  }
  ModelTransfer::discardPartial(path);
  QFile::remove(path);
  return 0;
}
