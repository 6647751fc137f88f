#include <QDir>
#include <QTemporaryDir>

#include "interface/SettingsViewModel.h"
#include "ports/FilePicker.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "support/FakeDefaultsStore.h"
#include "support/FakeUserNotices.h"
#include "support/ManualExecutor.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

class FakePicker final : public FilePicker {
 public:
  std::optional<QString> folder;
  Task<std::vector<std::filesystem::path>> pickFiles(QString, QString, QStringList) override {
    co_return std::vector<std::filesystem::path>();
  }
  Task<std::optional<QString>> pickFolder(QString, QString) override { co_return folder; }
};

struct Fixture {
  Fixture() {
    QDir().mkpath(former);
    settings.storage().setRecordingsFolder(former);
    page.enableFolderChange({executor, picker, *store, workers, Logging()});
  }
  void choose(const QString& path) {
    picker.folder = path;
    page.chooseRecordingsFolder();
    executor.runUntilIdle();
  }

  TestTexts texts;
  QTemporaryDir home;
  const QString former = home.filePath("former");
  ManualExecutor executor;
  FixedClock clock{QDateTime::fromSecsSinceEpoch(1'700'000'000)};
  FakeDefaultsStore defaults;
  SettingsManager settings{
      defaults,
      {home.filePath("data"), home.filePath("Documents"), home.filePath("Downloads"), home.filePath("tmp")},
      Logging()};
  std::unique_ptr<PersistenceController> store =
      std::move(*PersistenceController::open(PersistenceController::inMemory(), clock, {}));
  WorkerPool workers{1};
  FakePicker picker;
  FakeUserNotices notices;
  SettingsViewModel page{settings, {}, &notices};
};

TEST(RecordingsFolder, AnotherOneIsChosenAndTheRecordingsComeAlongOnRequest) {
  Fixture f;
  QFile file(f.former + "/a.wav");
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.close();
  const TranscriptPtr row = f.store->createTranscript(1, std::nullopt, file.fileName(), TranscriptStatus::completed);
  const QString next = f.home.filePath("next");
  f.choose(next);
  EXPECT_EQ(f.page.recordingsFolder(), next);
  EXPECT_TRUE(f.page.moveQuestion().contains(f.former)) << f.page.moveQuestion().toStdString();
  f.page.answerMove(true);
  EXPECT_TRUE(f.page.isMoving());
  f.executor.runUntilIdle();
  EXPECT_FALSE(f.page.isMoving());
  EXPECT_EQ(f.page.moveQuestion(), QString());
  EXPECT_EQ(row->audioFilePath, next + "/a.wav");
  EXPECT_EQ(f.notices.toasts.size(), 1u);
}

TEST(RecordingsFolder, OneThatTakesNothingIsRefusedInASentence) {
  Fixture f;
  QFile file(f.home.filePath("file"));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  f.choose(f.home.filePath("file/below"));
  EXPECT_EQ(f.page.recordingsFolder(), f.former);
  EXPECT_EQ(f.notices.toasts.size(), 1u);
}

TEST(RecordingsFolder, IsToldToBeAwayOnceAndShownAsLongAsItIs) {
  Fixture f;
  QDir(f.former).removeRecursively();
  QFile inTheWay(f.former);
  ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
  for (int times = 0; times < 2; ++times) f.settings.storage().ensureRecordingsFolder();
  EXPECT_EQ(f.notices.toasts.size(), 1u);
  EXPECT_TRUE(f.page.folderNote().contains(f.home.filePath("data"))) << f.page.folderNote().toStdString();
  inTheWay.remove();
  f.settings.storage().ensureRecordingsFolder();
  EXPECT_EQ(f.page.folderNote(), QString());
}

}  // namespace
}  // namespace quillmere
