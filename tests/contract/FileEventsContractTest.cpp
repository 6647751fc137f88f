#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include "contract/Sides.h"
#include "platform/linux/InotifyFileEvents.h"
#include "support/FakeFileEvents.h"
#include "support/WaitUntil.h"

namespace quillmere {
namespace {

struct FakeSide {
  void written(const QString& path) { events.write(path); }
  FakeFileEvents events;
};

struct InotifySide {
  void written(const QString&) {}  // the kernel tells
  InotifyFileEvents events;
};

template <typename Side>
class FileEventsContract : public testing::Test, public Side {
 protected:
  void append(const QString& to) {
    QFile file(to);
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write("x");
    file.close();
    this->written(to);
  }
  // Runs the loop until a marker that was written later has been told of.
  void settle() {
    const QString marker = folder.filePath("marker");
    append(marker);
    bool isTold = false;
    const auto watch = this->events.watch(marker, [&] { isTold = true; });
    ASSERT_TRUE(watch);
    append(marker);
    EXPECT_TRUE(waitUntil([&] { return isTold; }));
    QCoreApplication::processEvents();
  }
  QTemporaryDir folder;
  QString path = folder.filePath("file");
};
using Sides = testing::Types<FakeSide, InotifySide>;
TYPED_TEST_SUITE(FileEventsContract, Sides, SideNames);

TYPED_TEST(FileEventsContract, WritesAreToldUntilTheWatchGoes) {
  EXPECT_EQ(this->events.watch(this->path, [] {}), nullptr) << "a missing file can't be watched";
  this->append(this->path);
  int told = 0, toldOnce = 0;
  auto watch = this->events.watch(this->path, [&] { ++told; });
  std::unique_ptr<FileEvents::Watch> once = this->events.watch(this->path, [&] {
    ++toldOnce;
    once.reset();  // from inside
  });
  ASSERT_TRUE(watch && once);
  this->settle();
  EXPECT_EQ(told, 0) << "older writes don't count";
  for (const int writes : {1, 2}) {
    this->append(this->path);
    this->settle();
    EXPECT_EQ(told, writes);
  }
  EXPECT_EQ(toldOnce, 1);
  QFile(this->path).open(QIODevice::ReadOnly);
  watch.reset();
  this->append(this->path);
  this->settle();
  EXPECT_EQ(told, 2);
}

}  // namespace
}  // namespace quillmere
