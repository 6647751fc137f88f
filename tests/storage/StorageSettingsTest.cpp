#include <QTemporaryDir>

#include "base/async/TaskScope.h"
#include "storage/AbsentDisk.h"
#include "storage/StorageSettingsManager.h"
#include "support/FakeDefaultsStore.h"
#include "support/FakeErrorReporting.h"
#include "support/Files.h"
#include "support/ManualExecutor.h"
#include "support/RunTask.h"
#include "support/WithoutPrivileges.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

class StorageSettingsTest : public testing::Test {
 public:
  QTemporaryDir home;
  StandardFolders folders{home.filePath("data"), home.filePath("Documents"), home.filePath("Downloads"),
                          home.filePath("tmp")};
  FakeDefaultsStore defaults;
  FakeErrorReporting reporting;
  ManualExecutor executor;
  StorageSettingsManager storage{defaults, folders, Logging(), &reporting};
  const QString recordings = home.filePath("Documents/quillmere/recordings");

  // A file where a folder would have to be: nothing below it can be made.
  void block(const QString& path) const {
    QDir(path).removeRecursively();
    writeFile(path);
  }
  void blockEverything() const {
    for (const QString& path : {folders.applicationSupport, folders.documents, folders.downloads, folders.temporary})
      block(path);
  }
};

TEST_F(StorageSettingsTest, DocumentsAreExplainedFirst) {
  QStringList announced;
  const Subscription subscription = storage.observeChanges([&](const QString& key) { announced << key; });
  storage.ensureRecordingsFolder();
  EXPECT_TRUE(storage.showDocumentsPermissionAlert());
  EXPECT_FALSE(QDir(recordings).exists());
  EXPECT_EQ(announced, QStringList{"showDocumentsPermissionAlert"});
  defaults.setValue("enableErrorLogging", false);  // from here on nothing may be reported
  EXPECT_TRUE(storage.confirmDocumentsAccess());
  EXPECT_FALSE(storage.showDocumentsPermissionAlert());
  EXPECT_TRUE(QDir(recordings).exists());
  EXPECT_TRUE(storage.declineDocumentsAccess());
  EXPECT_EQ(storage.recordingsFolder(), home.filePath("data/Quillmere/recordings"));
  EXPECT_EQ(reporting.breadcrumbs.size(), 1u);
}

TEST_F(StorageSettingsTest, TheLadderGoesDownStepByStep) {
  blockEverything();
  EXPECT_FALSE(storage.confirmDocumentsAccess());
  EXPECT_TRUE(storage.documentsAccessDenied());
  QFile::remove(folders.temporary);
  storage.ensureRecordingsFolder();
  EXPECT_EQ(storage.folderForRecordings(), home.filePath("tmp/Quillmere/recordings"));
  QDir(folders.temporary).removeRecursively();
  block(folders.temporary);
  QFile::remove(folders.downloads);
  storage.ensureRecordingsFolder();
  EXPECT_EQ(storage.folderForRecordings(), home.filePath("Downloads/Quillmere Recordings"));
  EXPECT_EQ(storage.recordingsFolder(), recordings) << "the setting is the user's";
}

TEST_F(StorageSettingsTest, ACustomFolderThatVanishedIsMadeAgainWithoutAQuestion) {
  storage.setRecordingsFolder(home.filePath("mine/audio"));
  storage.ensureRecordingsFolder();
  EXPECT_TRUE(QDir(home.filePath("mine/audio")).exists());
  storage.setRecordingsFolder(folders.documents + "-archive/audio");  // begins alike, but isn't in Documents
  storage.ensureRecordingsFolder();
  EXPECT_TRUE(QDir(folders.documents + "-archive/audio").exists());
  EXPECT_FALSE(storage.showDocumentsPermissionAlert());
}

TEST_F(StorageSettingsTest, WaitingEndsWhenThePersonHasAnswered) {
  TaskScope scope(executor);
  auto ready = scope.spawn(storage.waitForRecordingsFolder(120s));
  executor.runUntilIdle();
  executor.advance(60s);
  EXPECT_FALSE(ready.isDone());
  EXPECT_TRUE(storage.showDocumentsPermissionAlert());
  storage.confirmDocumentsAccess();
  executor.advance(200ms);
  ASSERT_TRUE(ready.isDone());
  EXPECT_TRUE(runTask(executor, ready.join()));
}

TEST_F(StorageSettingsTest, WaitingGivesUpAfterItsTime) {
  blockEverything();
  storage.declineDocumentsAccess();
  const TimePoint start = executor.now();
  EXPECT_FALSE(runTask(executor, storage.waitForRecordingsFolder(120s)));
  EXPECT_EQ(executor.now() - start, 120s);
}

TEST_F(StorageSettingsTest, AFolderThatCantBeWrittenIsNotReady) {
  ASSERT_TRUE(QDir().mkpath(recordings));
  ASSERT_TRUE(QFile::setPermissions(recordings, QFile::Permissions(0x5555)));
  ASSERT_TRUE(QFile::setPermissions(home.path(), QFile::Permissions(0x5555)));
  {
    const WithoutPrivileges scope;
    EXPECT_FALSE(runTask(executor, storage.waitForRecordingsFolder(1s)));
    storage.changeRecordingsFolder(recordings);
  }
  EXPECT_EQ(storage.validationError(), "Cannot write to selected folder. Please check permissions.");
  EXPECT_EQ(reporting.messages.size(), 1u);
}

TEST_F(StorageSettingsTest, ChangingTheFolder) {
  block(home.filePath("file"));
  storage.changeRecordingsFolder(home.filePath("file/below"));
  EXPECT_EQ(storage.validationError(), "Failed to create folder: Not a directory");
  EXPECT_EQ(storage.recordingsFolder(), recordings);
  storage.changeRecordingsFolder(home.filePath("new/place"));
  EXPECT_EQ(storage.validationError(), std::nullopt);
  EXPECT_EQ(storage.recordingsFolder(), home.filePath("new/place"));
}

TEST_F(StorageSettingsTest, AFolderThatIsAwayIsReplacedOnlyUntilItComesBack) {
  const QString mine = home.filePath("disk/audio");
  storage.setUserChoseAlternateStorage(true);
  storage.setRecordingsFolder(mine);
  QStringList announced;
  const Subscription subscription = storage.observeChanges([&](const QString& key) { announced << key; });
  block(home.filePath("disk"));
  EXPECT_TRUE(runTask(executor, storage.waitForRecordingsFolder(120s)));
  EXPECT_EQ(storage.folderForRecordings(), home.filePath("data/Quillmere/recordings"));
  EXPECT_EQ(storage.recordingsFolder(), mine);
  EXPECT_EQ(announced, QStringList{"recordingsStandIn"});
  QFile::remove(home.filePath("disk"));
  EXPECT_EQ(storage.usableRecordingsFolder(), mine);
  EXPECT_EQ(storage.recordingsStandIn(), std::nullopt);
}

TEST(AbsentDisk, NothingIsMountedWhereTheNextFolderIsOnTheDiskOfThePlace) {
  QTemporaryDir home;
  const QString place = home.filePath("media");
  ASSERT_TRUE(QDir().mkpath(place + "/me"));
  EXPECT_TRUE(isOnAbsentDisk(place + "/me/Disk/audio", {place}));
  EXPECT_FALSE(isOnAbsentDisk(place + "/me", {place})) << "it is there";
  EXPECT_FALSE(isOnAbsentDisk(home.filePath("mediathek/audio"), {place}));
}

}  // namespace
}  // namespace quillmere
