#include "models/ModelTransfer.h"

#include <QDir>
#include <QTemporaryDir>

#include "support/FakeHttpDownloader.h"
#include "support/RunTask.h"

namespace quillmere {

TEST(ModelTransferTest, AModelOfSeveralFilesAppearsOnlyWhenAllAreRight) {
  const QTemporaryDir folder;
  ManualExecutor executor;
  WorkerPool pool{1};
  FakeHttpDownloader web;
  ModelTransfer transfer(web, executor, pool, {}, [](const QString&) { return 150'000; });
  std::pair<qint64, qint64> progress;
  ModelTransferRequest request{"two", {{QUrl("https://hub.example/a"), folder.filePath("m/a"), {}, 100'000}}};
  request.files.push_back({QUrl("https://hub.example/b"), folder.filePath("m/b"), {}, 50'000});
  request.progress = [&](qint64 bytes, qint64 total) { progress = {bytes, total}; };
  const auto download = [&](qsizetype bytesOfB) {
    web.answer = [=](const HttpDownloadRequest& asked) {
      return FakeHttpDownloader::serve(asked, QByteArray(asked.url.path() == "/a" ? 100'000 : bytesOfB, 'x'), "\"1\"");
    };
    return runTask(executor, transfer.download(request)).hasValue();
  };
  EXPECT_FALSE(download(49'999)) << "another size than announced";
  EXPECT_EQ(QDir(folder.filePath("m")).entryList(QDir::Files), QStringList());
  EXPECT_TRUE(download(50'000));
  EXPECT_EQ(QDir(folder.filePath("m")).entryList(QDir::Files), QStringList({"a", "b"}));
  EXPECT_EQ(web.requests.size(), 3u) << "the first file need not come again";
  EXPECT_EQ(progress, std::pair(qint64{150'000}, qint64{150'000}));
}

}  // namespace quillmere
