#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "base/async/TaskScope.h"
#include "storage/StorageSettingsManager.h"
#include "support/FakeDefaultsStore.h"
#include "support/FakeErrorReporting.h"
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
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  }
  void blockEverything() const {
    for (const QString& path : {folders.applicationSupport, folders.documents, folders.downloads, folders.temporary})
      block(path);
  }
};

TEST_F(StorageSettingsTest, DocumentsAreExplainedFirst) {
  EXPECT_TRUE(QDir(home.filePath("data/Quillmere")).exists());
  QStringList announced;
  const Subscription subscription = storage.observeChanges([&](const QString& key) { announced << key; });
  storage.ensureRecordingsFolder();
  EXPECT_TRUE(storage.showDocumentsPermissionAlert());
  EXPECT_FALSE(QDir(recordings).exists());
  EXPECT_EQ(announced, QStringList{"showDocumentsPermissionAlert"});
  ASSERT_EQ(reporting.breadcrumbs.size(), 1u);
  defaults.setValue("enableErrorLogging", false);  // from here on nothing may be reported
  EXPECT_TRUE(storage.confirmDocumentsAccess());
  EXPECT_FALSE(storage.showDocumentsPermissionAlert());
  EXPECT_TRUE(QDir(recordings).exists());
  EXPECT_TRUE(storage.declineDocumentsAccess());
  EXPECT_EQ(reporting.breadcrumbs.size(), 1u);
}

TEST_F(StorageSettingsTest, DecliningTakesTheFirstPlaceOfTheLadder) {
  storage.ensureRecordingsFolder();
  EXPECT_TRUE(storage.declineDocumentsAccess());
  EXPECT_TRUE(storage.userChoseAlternateStorage() && storage.documentsPermissionExplained());
  EXPECT_EQ(storage.recordingsFolder(), home.filePath("data/Quillmere/recordings"));
  EXPECT_EQ(defaults.value("appFolderPath"), home.filePath("data/Quillmere"));
}

TEST_F(StorageSettingsTest, TheLadderGoesDownStepByStep) {
  blockEverything();
  EXPECT_FALSE(storage.confirmDocumentsAccess());
  EXPECT_TRUE(storage.documentsAccessDenied());
  QFile::remove(folders.temporary);
  storage.ensureRecordingsFolder();
  EXPECT_EQ(storage.recordingsFolder(), home.filePath("tmp/Quillmere/recordings"));
  QDir(folders.temporary).removeRecursively();
  block(folders.temporary);
  QFile::remove(folders.downloads);
  storage.ensureRecordingsFolder();
  EXPECT_EQ(storage.recordingsFolder(), home.filePath("Downloads/Quillmere Recordings"));
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
  std::optional<bool> ready;
  const auto wait = [](StorageSettingsManager& manager, std::optional<bool>& result) -> Task<void> {
    result = co_await manager.waitForRecordingsFolder(120s);
  };
  scope.spawn(wait(storage, ready));
  executor.runUntilIdle();
  executor.advance(60s);
  EXPECT_EQ(ready, std::nullopt);
  EXPECT_TRUE(storage.showDocumentsPermissionAlert());
  storage.confirmDocumentsAccess();
  executor.advance(200ms);
  EXPECT_EQ(ready, true);
}

TEST_F(StorageSettingsTest, WaitingGivesUpAfterItsTime) {
  blockEverything();
  storage.declineDocumentsAccess();
  const TimePoint start = executor.now();
  EXPECT_FALSE(runTask(executor, storage.waitForRecordingsFolder(120s)));
  EXPECT_EQ(executor.now() - start, 120s);
  QFile::remove(folders.downloads);
  EXPECT_TRUE(runTask(executor, storage.waitForRecordingsFolder(120s)));
  EXPECT_EQ(storage.recordingsFolder(), home.filePath("Downloads/Quillmere Recordings"));
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
  const std::pair<QString, const char*> refused[] = {
      {home.filePath("file/below"), "Failed to create folder: Not a directory"},
      {home.filePath("file"), "Cannot write to selected folder. Please check permissions."}};
  for (const auto& [path, error] : refused) {
    storage.changeRecordingsFolder(path);
    EXPECT_EQ(storage.validationError(), error);
    EXPECT_EQ(storage.recordingsFolder(), recordings);
  }
  EXPECT_EQ(reporting.reports.size(), 1u);
  storage.changeRecordingsFolder(home.filePath("new/place"));
  EXPECT_EQ(storage.validationError(), std::nullopt);
  EXPECT_EQ(storage.recordingsFolder(), home.filePath("new/place"));
}

}  // namespace
}  // namespace quillmere
