#include <gtest/gtest.h>

#include "interface/AlertsViewModel.h"
#include "interface/FileQueueViewModel.h"
#include "interface/InterfaceFixture.h"
#include "ports/FilePicker.h"
#include "support/FakeMediaEncoder.h"
#include "support/FakeMediaReader.h"
#include "support/FakeTranscriptRoad.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

struct FakePicker final : FilePicker {
  std::vector<std::filesystem::path> choice;
  Task<std::vector<std::filesystem::path>> pickFiles(QString, QString, QStringList) override { co_return choice; }
  Task<std::optional<QString>> pickFolder(QString, QString) override { co_return std::nullopt; }
};

struct Fixture : InterfaceFixture {
  FakeMediaReaderFactory readers;
  FakeMediaEncoder encoder;
  AudioFileConverter converter{readers, encoder, pool, Logging(log)};
  FakeTranscriptRoad road;
  FakePicker picker;
  AlertsViewModel alerts;
  ModePtr mode = makeMode("Default"), letters = makeMode("Letters");
  FileTranscriptionFlow flow{{executor, clock, pool, *store, settings, converter, road}, Logging(log)};
  std::unique_ptr<FileQueueViewModel> files;
  QStringList sentences;

  Fixture() {
    defaults.setValue(QStringLiteral("recordingsFolder"), folder.filePath(QStringLiteral("recordings")));
    state.selectMode(*mode, false);
    files = std::make_unique<FileQueueViewModel>(
        FileQueueViewModel::Services{executor, state, *store, flow, &picker, &alerts, &notices});
    QObject::connect(files.get(), &FileQueueViewModel::allDone,
                     [this](const QString& sentence) { sentences << sentence; });
  }
  // A file of some bytes; the reader knows its copy.
  std::filesystem::path input(const QString& name) {
    QFile file(folder.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write("sound") == 5);
    FakeMediaFile media;
    media.duration = 65;
    media.frames = 1000;
    const QString copy = QStringLiteral("recordings/imported_%1_%2").arg(clock.now().toSecsSinceEpoch()).arg(name);
    for (const QString& path : {file.fileName(), folder.filePath(copy)}) readers.files[path] = media;
    return file.fileName().toStdString();
  }
  QVariant at(int row, int role) const { return files->index(row).data(role); }
  QString detail(int row) const { return at(row, FileQueueViewModel::detailRole).toString(); }
  QString id(int row) const { return at(row, FileQueueViewModel::idRole).toString(); }
  void runToTheEnd() {
    executor.runUntil([this] { return !files->isWorking(); });
    executor.runReady();
  }
};

TEST(FileQueueTest, TakesFilesOneAfterTheOther) {
  Fixture f;
  f.road.isHolding = true;
  const auto first = f.input(QStringLiteral("a.mp3")), second = f.input(QStringLiteral("b.mp3"));
  f.files->add({first, second});
  f.files->add({second});
  EXPECT_EQ(f.files->count(), 2) << "a file that waits is not taken twice";
  f.executor.runUntil([&] { return f.road.audioPaths.size() == 1; });
  f.road.onProgress(0.5F);
  f.executor.advance(400ms);
  EXPECT_TRUE(f.detail(0).startsWith(QStringLiteral("Transcribing… 50 %"))) << qPrintable(f.detail(0));
  EXPECT_EQ(f.detail(1), QStringLiteral("Waits for its turn"));
  f.road.letGo();
  f.executor.runUntil([&] { return f.road.audioPaths.size() == 2; });
  EXPECT_EQ(f.detail(0), QStringLiteral("1:05\u00a0min of sound. The text is in the history."));
  EXPECT_TRUE(f.sentences.isEmpty());
  f.road.letGo();
  f.runToTheEnd();
  EXPECT_EQ(f.sentences, QStringList{QStringLiteral("2 files are transcribed. The texts are in the history.")});
  f.files->removeFinished();
  EXPECT_EQ(f.files->count(), 0);
}

TEST(FileQueueTest, EachFileHasTheModeOfItsTime) {
  Fixture f;
  f.road.isHolding = true;
  f.files->add({f.input(QStringLiteral("a.mp3"))});
  f.files->setModeId(f.letters->id->toString(QUuid::WithoutBraces));
  f.files->add({f.input(QStringLiteral("b.mp3"))});
  f.road.isHolding = false;
  f.runToTheEnd();
  EXPECT_EQ(f.road.modes, (std::vector<ModePtr>{f.mode, f.letters}));
  ASSERT_TRUE(f.store->deleteMode(f.letters));
  EXPECT_EQ(f.files->modeId(), f.state.data().selectedModeId);
}

TEST(FileQueueTest, CancelsWhatRunsAndWhatWaits) {
  Fixture f;
  f.road.isHolding = true;
  f.files->add({f.input(QStringLiteral("a.mp3")), f.input(QStringLiteral("b.mp3")), f.input(QStringLiteral("c.mp3"))});
  f.executor.runUntil([&] { return f.road.audioPaths.size() == 1; });
  f.files->cancel(f.id(1));
  f.files->cancel(f.id(0));
  f.executor.runUntil([&] { return f.road.audioPaths.size() == 2; });
  EXPECT_TRUE(f.road.audioPaths[1].endsWith(QStringLiteral("c.mp3")));
  for (const int row : {0, 1}) EXPECT_EQ(f.detail(row), QStringLiteral("Cancelled"));
  f.files->retry(f.id(0));
  runTask(f.executor, f.files->shutDown());
  EXPECT_FALSE(f.files->isWorking());
  EXPECT_EQ(f.road.audioPaths.size(), 2U);
  EXPECT_TRUE(f.sentences.isEmpty());
  EXPECT_TRUE(f.notices.toasts.empty());
}

TEST(FileQueueTest, OneThatFailsRaisesAnAlertAndSeveralANotice) {
  Fixture f;
  f.road.error = AnyError(TranscriptionError{TranscriptionError::Busy{}});
  const auto file = f.input(QStringLiteral("a.mp3"));
  f.files->add({file});
  f.runToTheEnd();
  const QString why = QStringLiteral("Another transcription is still running.");
  EXPECT_EQ(f.detail(0), why);
  EXPECT_EQ(f.alerts.message(), why);
  f.alerts.accept();
  f.files->add({f.folder.filePath(QStringLiteral("nowhere.mp3")).toStdString(), f.input(QStringLiteral("b.mp3"))});
  f.runToTheEnd();
  EXPECT_FALSE(f.alerts.isShown());
  ASSERT_EQ(f.notices.toasts.size(), 1U);
  EXPECT_TRUE(f.notices.toasts[0].first.startsWith(QStringLiteral("2 of 2 files")));
  f.road.error.reset();
  f.files->retry(f.id(0));
  f.runToTheEnd();
  EXPECT_TRUE(f.at(0, FileQueueViewModel::completedRole).toBool());
}

TEST(FileQueueTest, TakesWhatIsChosenAndOnlyWhatIsOnThisComputer) {
  Fixture f;
  f.files->choose();
  f.executor.runReady();
  EXPECT_EQ(f.files->count(), 0) << "nothing was chosen";
  f.picker.choice = {f.input(QStringLiteral("a b.mp3"))};
  f.files->choose();
  f.executor.runReady();
  EXPECT_EQ(f.at(0, FileQueueViewModel::nameRole), QStringLiteral("a b.mp3"));
  f.files->addUrls({QUrl(QStringLiteral("https://example.org/talk.mp3"))});
  EXPECT_EQ(f.files->count(), 1);
  EXPECT_EQ(f.notices.toasts.size(), 1U);
  f.runToTheEnd();
}

TEST(AlertsTest, AreShownOneAtATimeAndAnsweredOnce) {
  ManualExecutor executor;
  AlertsViewModel alerts;
  QStringList answers;
  const auto show = [&](const char* name) {
    const QString title = QString::fromLatin1(name);
    alerts.show({title,
                 {},
                 QStringLiteral("Yes"),
                 QStringLiteral("No"),
                 [&, title] { answers << title + u'+'; },
                 [&, title] { answers << title + u'-'; }});
  };
  show("a");
  show("b");
  show("a");
  EXPECT_EQ(alerts.title(), QStringLiteral("a"));
  alerts.accept();
  EXPECT_EQ(alerts.title(), QStringLiteral("b"));
  alerts.cancel();
  alerts.accept();
  EXPECT_FALSE(alerts.isShown());
  EXPECT_EQ(answers, (QStringList{QStringLiteral("a-"), QStringLiteral("a+"), QStringLiteral("b-")}));
  TaskScope scope(executor);
  for (const bool isAccepted : {true, false}) {
    auto asking = scope.spawn(alerts.ask({QStringLiteral("c"), {}, QStringLiteral("Yes")}));
    executor.runReady();
    isAccepted ? alerts.accept() : alerts.cancel();
    EXPECT_EQ(runTask(executor, asking.join()), isAccepted);
  }
}

}  // namespace
}  // namespace quillmere
