#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QDir>

#include "storage/PrivateFolder.h"
#include "storage/StoreFixture.h"

namespace quillmere {
namespace {

constexpr mode_t others = S_IRWXG | S_IRWXO;

mode_t modeOf(const QString& path) {
  struct stat status {};
  return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : 07777;
}

// What was dictated is for its owner's eyes, whatever the mask of the session allows.
class PrivateFilesTest : public StoreFixture {
 public:
  ~PrivateFilesTest() override { ::umask(before_); }

 private:
  mode_t before_ = ::umask(0);
};

TEST_F(PrivateFilesTest, AStoreIsClosedToOthersAlsoOneThatCameFromElsewhere) {
  path = folder.filePath("data/quillmere/Quillmere.sqlite");
  auto first = openStoreHere();
  first->createTranscript(1, {}, {});
  EXPECT_EQ(modeOf(folder.filePath("data")), 0700u);
  EXPECT_EQ(modeOf(folder.filePath("data/quillmere")), 0700u);
  for (const char* tail : {"", "-wal", "-shm"}) {
    EXPECT_EQ(modeOf(path + tail) & others, 0u) << tail;
    ASSERT_EQ(::chmod(QFile::encodeName(path + tail).constData(), 0666), 0);
  }
  const auto second = openStoreHere();
  for (const char* tail : {"", "-wal", "-shm"}) EXPECT_EQ(modeOf(path + tail), 0600u) << tail;
  EXPECT_EQ(second->countTranscripts(), 1);
}

TEST_F(PrivateFilesTest, OnlyFoldersThatAreMadeAreClosed) {
  const QString shared = folder.filePath("shared");
  ASSERT_TRUE(QDir().mkdir(shared));
  ASSERT_TRUE(makePrivateFolder(shared + "/a/../b//c/"));
  ASSERT_TRUE(makePrivateFolder(shared));
  EXPECT_EQ(modeOf(shared), 0777u) << "its owner wants it so";
  EXPECT_EQ(modeOf(shared + "/b"), 0700u);
  EXPECT_EQ(modeOf(shared + "/b/c"), 0700u);
  EXPECT_FALSE(QFileInfo::exists(shared + "/a"));
  QFile file(shared + "/file");
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  for (const char* taken : {"/file", "/file/below"}) {
    EXPECT_FALSE(makePrivateFolder(shared + taken));
    EXPECT_EQ(errno, ENOTDIR);
  }
}

}  // namespace
}  // namespace quillmere
