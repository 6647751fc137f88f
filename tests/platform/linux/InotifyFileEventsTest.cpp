#include "platform/linux/InotifyFileEvents.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

namespace quillmere {
namespace {

class InotifyFileEventsTest : public testing::Test {
 protected:
  static void append(const QString& path) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write("x");
  }
  // Runs the loop until a marker that was written later has been told of.
  void settle() {
    const QString marker = folder.filePath("marker");
    append(marker);
    QEventLoop loop;
    const auto watch = events.watch(marker, [&] { loop.quit(); });
    ASSERT_TRUE(watch);
    append(marker);
    QTimer::singleShot(std::chrono::seconds(20), &loop, &QEventLoop::quit);
    loop.exec();
    QCoreApplication::processEvents();
  }
  QTemporaryDir folder;
  QString path = folder.filePath("file");
  InotifyFileEvents events;
};

TEST_F(InotifyFileEventsTest, WritesAreToldUntilTheWatchGoes) {
  append(path);
  int told = 0;
  int toldOnce = 0;
  auto watch = events.watch(path, [&] { ++told; });
  std::unique_ptr<FileEvents::Watch> once = events.watch(path, [&] {
    ++toldOnce;
    once.reset();  // from inside
  });
  ASSERT_TRUE(watch && once);
  settle();
  EXPECT_EQ(told, 0) << "older writes don't count";
  append(path);
  settle();
  EXPECT_EQ(told, 1);
  append(path);
  settle();
  EXPECT_EQ(told, 2);
  EXPECT_EQ(toldOnce, 1);
  QFile(path).open(QIODevice::ReadOnly);
  watch.reset();
  append(path);
  settle();
  EXPECT_EQ(told, 2);
}

TEST_F(InotifyFileEventsTest, AMissingFileCantBeWatched) {
  EXPECT_EQ(events.watch(folder.filePath("nothing"), [] {}), nullptr);
}

}  // namespace
}  // namespace quillmere
