#include "files/FileTranscriptionFlow.h"

#include <QTemporaryDir>
#include <fstream>

#include "base/async/Completion.h"
#include "files/TextPath.h"
#include "support/FakeDefaultsStore.h"
#include "support/FakeMediaEncoder.h"
#include "support/FakeMediaReader.h"
#include "support/FakeTranscriber.h"
#include "support/FakeVADProcessing.h"
#include "support/Files.h"
#include "support/ManualExecutor.h"
#include "support/RunTask.h"
#include "support/TestTexts.h"
#include "transcripts/PipelineTranscriptRoad.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Outcome = FileTranscriptionOutcome;

class FakePresenter final : public FileTranscriptionPresenter {
 public:
  int shown = 0, historyOpened = 0;
  std::vector<AlertText> alerts;
  void showProgress(FileTranscriptionProgress&) override { ++shown; }
  void hideProgress() override {}
  void showAlert(const AlertText& alert) override { alerts.push_back(alert); }
  void openHistory() override { ++historyOpened; }
};

class FileTranscriptionFlowTest : public ::testing::Test {
 protected:
  FileTranscriptionFlowTest() {
    defaults.setValue(QStringLiteral("recordingsFolder"), recordings());
    pipeline.result.text = QStringLiteral("Polished.");
    pipeline.result.rawText = QStringLiteral("raw");
    pipeline.result.provider = QStringLiteral("Local Whisper");
    persistence = std::move(*PersistenceController::open(PersistenceController::inMemory(), clock, logging));
    settings = std::make_unique<SettingsManager>(
        defaults, StandardFolders{home.path(), home.path(), home.path(), home.path()}, logging);
    road = std::make_unique<PipelineTranscriptRoad>(
        PipelineTranscriptRoad::Services{clock, *persistence, *settings, trimming, pipeline}, logging);
    FileTranscriptionFlow::Dependencies use{executor, clock, workers, *persistence, *settings, converter, *road};
    use.presenter = &presenter;
    flow = std::make_unique<FileTranscriptionFlow>(use, logging);
  }

  QString recordings() const { return home.filePath(QStringLiteral("recordings")); }
  QString copyOf(const QString& name) const { return recordings() + QStringLiteral("/imported_1700000000_") + name; }
  QStringList kept() const { return QDir(recordings()).entryList(QDir::Files | QDir::Hidden); }
  // A file of some bytes whose copy the fake reader knows with this length.
  std::filesystem::path input(const QString& name, double duration = 12.5) {
    FakeMediaFile media;
    media.duration = duration;
    media.frames = 1000;
    media.hasPicture = name.startsWith(QStringLiteral("film"));
    const QString path = writeFile(home.filePath(name), "sound");
    readers.files[copyOf(name)] = readers.files[path] = media;
    return path.toStdString();
  }
  Outcome run(const std::filesystem::path& file, const ModePtr& mode = nullptr) {
    return runTask(executor, flow->transcribe(file, mode));
  }
  std::vector<TranscriptPtr> rows() { return persistence->fetchTranscripts(-1); }

  TestTexts texts;
  QTemporaryDir home;
  ManualExecutor executor;
  FixedClock clock{QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC)};
  Logging logging;
  WorkerPool workers{1};
  FakeDefaultsStore defaults;
  FakeMediaReaderFactory readers;
  FakeMediaEncoder encoder;
  AudioFileConverter converter{readers, encoder, workers, logging};
  std::unique_ptr<PersistenceController> persistence;
  std::unique_ptr<SettingsManager> settings;
  FakeTranscriber pipeline;
  FakeVADProcessing trimming;
  FakePresenter presenter;
  std::unique_ptr<TranscriptRoad> road;
  std::unique_ptr<FileTranscriptionFlow> flow;
};

TEST_F(FileTranscriptionFlowTest, CopiesTranscribesAndStores) {
  trimming.trimmedPath = home.filePath(QStringLiteral("trimmed.wav"));
  auto mode = std::make_shared<Mode>();
  mode->name = QStringLiteral("Letters");
  mode->model = QStringLiteral("base");
  const Outcome outcome = run(input(QStringLiteral("talk.mp3")), mode);
  ASSERT_EQ(outcome.kind, Outcome::Kind::completed);
  EXPECT_EQ(outcome.audioDurationSeconds, 12.5);
  EXPECT_EQ(pipeline.requests.at(0).audioPath, *trimming.trimmedPath);
  EXPECT_EQ(pipeline.requests.at(0).mode, mode);
  EXPECT_EQ(outcome.result->rawText, QStringLiteral("raw"));
  ASSERT_EQ(rows().size(), 1u);
  const TranscriptPtr row = rows().front();
  EXPECT_EQ(row->status, QStringLiteral("completed"));
  EXPECT_EQ(row->audioFilePath, copyOf(QStringLiteral("talk.mp3")));
  EXPECT_EQ(row->trimmedAudioFilePath, trimming.trimmedPath);
  EXPECT_EQ(kept(), QStringList{QStringLiteral("imported_1700000000_talk.mp3")});
  EXPECT_TRUE(QFile::exists(home.filePath(QStringLiteral("talk.mp3")))) << "the original stays";
  EXPECT_EQ(presenter.shown, 1);
  EXPECT_EQ(presenter.historyOpened, 1);
  EXPECT_EQ(flow->progressState().state(), FileTranscriptionProgressState());
}

TEST_F(FileTranscriptionFlowTest, TwoFilesOfOneNameWithinASecondKeepTheirOwnCopies) {
  const auto file = input(QStringLiteral("talk.mp3"));
  FakeMediaFile second;
  second.duration = 3;
  readers.files[recordings() + QStringLiteral("/imported_1700000000_talk_2.mp3")] = second;
  EXPECT_EQ(run(file).kind, Outcome::Kind::completed);
  EXPECT_EQ(run(file).kind, Outcome::Kind::completed);
  EXPECT_EQ(kept().size(), 2);
  EXPECT_NE(rows().at(0)->audioFilePath, rows().at(1)->audioFilePath);
}

TEST_F(FileTranscriptionFlowTest, PullsTheSoundOutOfAVideo) {
  const auto file = input(QStringLiteral("film.MP4"), 60);
  FakeMediaFile sound;
  sound.duration = 59.5;
  readers.files[copyOf(QStringLiteral("film.m4a"))] = sound;
  const Outcome outcome = run(file);
  ASSERT_EQ(outcome.kind, Outcome::Kind::completed);
  EXPECT_EQ(pipeline.requests.at(0).audioPath, copyOf(QStringLiteral("film.m4a")));
  EXPECT_EQ(rows().front()->audioFilePath, copyOf(QStringLiteral("film.m4a")));
  EXPECT_EQ(kept(), QStringList{QStringLiteral("imported_1700000000_film.m4a")}) << "the film itself is not kept";
}

TEST_F(FileTranscriptionFlowTest, FailuresBeforeTheRowLeaveNothingBehind) {
  auto cloud = std::make_shared<Mode>();
  cloud->model = QStringLiteral("cloud");
  cloud->cloudProvider = QStringLiteral("openai");
  const auto flac = input(QStringLiteral("talk.flac"));
  const auto silentFilm = input(QStringLiteral("silent.mov"));
  readers.files[home.filePath(QStringLiteral("silent.mov"))].openError =
      MediaError{MediaError::Kind::noAudioTrack, 0, QString()};
  const auto broken = input(QStringLiteral("broken.wav"));
  readers.files.remove(home.filePath(QStringLiteral("broken.wav")));
  using E = FileTranscriptionError;
  struct Row {
    std::filesystem::path file;
    ModePtr mode;
    std::function<bool(const Outcome&)> isRight;
  };
  const Row table[] = {
      {flac, cloud, [](const Outcome& o) { return o.refusal && o.refusal->is<E::UnsupportedFormat>(); }},
      {silentFilm, nullptr, [](const Outcome& o) { return o.refusal && o.refusal->is<E::VideoHasNoAudio>(); }},
      {broken, nullptr, [](const Outcome& o) { return o.error.has_value(); }},
  };
  for (const Row& row : table) {
    const Outcome outcome = run(row.file, row.mode);
    EXPECT_EQ(outcome.kind, Outcome::Kind::failed) << row.file;
    EXPECT_TRUE(row.isRight(outcome)) << row.file;
    EXPECT_FALSE(outcome.transcript) << row.file;
    EXPECT_EQ(kept(), QStringList()) << row.file;
    EXPECT_EQ(flow->progressState().state(), FileTranscriptionProgressState()) << row.file;
  }
  for (const QString& name : {"recordings", "Quillmere", "Quillmere Recordings"}) {  // and what stands in for it
    QDir(home.filePath(name)).removeRecursively();
    writeFile(home.filePath(name));
  }
  const Outcome outcome = run(flac);
  EXPECT_TRUE(outcome.refusal && outcome.refusal->is<E::CopyFailed>());
  EXPECT_TRUE(rows().empty());
  EXPECT_EQ(presenter.alerts.size(), std::size(table) + 1);
  EXPECT_TRUE(pipeline.requests.empty());
}

TEST_F(FileTranscriptionFlowTest, AFailedTranscriptionKeepsTheRowAndTheSound) {
  pipeline.error = AnyError(TranscriptionError{TranscriptionError::ModelNotDownloaded{}});
  EXPECT_EQ(run(input(QStringLiteral("talk.wav"))).kind, Outcome::Kind::failed);
  ASSERT_EQ(rows().size(), 1u);
  EXPECT_EQ(rows().front()->status, QStringLiteral("failed"));
  EXPECT_TRUE(QFile::exists(copyOf(QStringLiteral("talk.wav"))));
  ASSERT_EQ(presenter.alerts.size(), 1u);
  EXPECT_FALSE(presenter.alerts.front().message.isEmpty());
}

TEST_F(FileTranscriptionFlowTest, TheBarFollowsTheEngineElseTheTime) {
  for (const bool tells : {true, false}) {
    pipeline.neverEnds = true;
    pipeline.requests.clear();
    if (tells) pipeline.progress = {0.5F};
    TaskScope scope(executor);
    scope.spawn(flow->transcribe(input(tells ? QStringLiteral("a.wav") : QStringLiteral("b.wav")), nullptr));
    executor.runUntil([&] { return !pipeline.requests.empty(); });
    executor.advance(61s);
    EXPECT_FLOAT_EQ(flow->progressState().state().progress, tells ? 0.5F : 0.85F) << "the bar waits there";
    pipeline.progress.clear();
  }
}

TEST_F(FileTranscriptionFlowTest, ACancelAtAnyTurnLeavesNoCopyWithoutARow) {
  trimming.trimmedPath = recordings() + QStringLiteral("/imported_trimmed.wav");
  for (int turns = 0; turns < 40; ++turns) {
    pipeline.requests.clear();
    const QString name = QStringLiteral("film%1.mov").arg(turns);
    const auto file = input(name);
    FakeMediaFile sound;
    sound.duration = 2;
    readers.files[copyOf(QStringLiteral("film%1.m4a").arg(turns))] = sound;
    TaskScope scope(executor);
    auto handle = scope.spawn(flow->transcribe(file, nullptr));
    for (int turn = 0; turn < turns; ++turn)
      if (!executor.runOne()) executor.runUntilIdle();
    flow->cancel();
    const Outcome outcome = runTask(executor, handle.join());
    const bool isComplete = outcome.kind == Outcome::Kind::completed;
    EXPECT_TRUE(isComplete || outcome.kind == Outcome::Kind::cancelled) << turns;
    if (outcome.transcript) {
      EXPECT_EQ(outcome.transcript->status == QStringLiteral("completed"), isComplete) << turns;
      EXPECT_TRUE(QFile::exists(*outcome.transcript->audioFilePath)) << turns;
      persistence->deleteTranscript(outcome.transcript);
    }
    EXPECT_EQ(kept(), QStringList()) << turns;
  }
  EXPECT_TRUE(presenter.alerts.empty());
}

TEST_F(FileTranscriptionFlowTest, OneFileAtATime) {
  pipeline.neverEnds = true;
  TaskScope scope(executor);
  auto first = scope.spawn(flow->transcribe(input(QStringLiteral("one.wav")), nullptr));
  executor.runUntil([&] { return !pipeline.requests.empty(); });
  const Outcome second = runTask(executor, flow->transcribe(input(QStringLiteral("two.wav")), nullptr));
  EXPECT_EQ(second.kind, Outcome::Kind::failed);
  ASSERT_TRUE(second.error);
  EXPECT_EQ(classify(*second.error).code, QStringLiteral("busy"));
  EXPECT_EQ(rows().size(), 1u);
  first.cancel();
}

// Whatever it is called: nothing of the picture is ever in the folder, and no import takes the name of another.
TEST_F(FileTranscriptionFlowTest, OfAVideoOnlyTheSoundComesIntoTheFolder) {
  encoder.canCopyPackets = true;
  const QStringList sounds{"imported_1700000000_film.m4a", "imported_1700000000_film_2.m4a",
                           "imported_1700000000_film_3.m4a", "imported_1700000000_film_4.m4a"};
  QStringList names{"film.mkv", "film.webm", "film.avi", "film"};
  for (const QString& name : sounds) readers.files[recordings() + u'/' + name].duration = 5;
  for (const QString& name : names) {
    ASSERT_EQ(run(input(name)).kind, Outcome::Kind::completed) << name.toStdString();
    readers.files.remove(copyOf(name));
  }
  EXPECT_EQ(kept(), sounds);
  for (const QString& name : sounds) {
    QFile file(recordings() + u'/' + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly) && file.readAll() == "exported") << "its packets, not encoded anew";
  }
}

// What a service is sent of a video is its sound: neither the name nor the size of the film counts.
TEST_F(FileTranscriptionFlowTest, AServiceGetsTheSoundOfAnyVideo) {
  auto cloud = std::make_shared<Mode>();
  cloud->model = QStringLiteral("cloud");
  cloud->cloudProvider = QStringLiteral("openai");
  const auto file = input(QStringLiteral("film.mkv"));
  std::filesystem::resize_file(file, 26214401);
  readers.files[copyOf(QStringLiteral("film.m4a"))].duration = 5;
  EXPECT_EQ(run(file, cloud).kind, Outcome::Kind::completed);
}

TEST_F(FileTranscriptionFlowTest, ANameThatIsNoUtf8IsReadThroughALink) {
  const std::filesystem::path file = std::filesystem::path(home.path().toStdString()) / "caf\xe9.wav";
  std::ofstream(file) << "sound";
  const auto path = TextPath::of(file);
  ASSERT_TRUE(path);
  QFile link(path->text());
  EXPECT_TRUE(link.open(QIODevice::ReadOnly) && link.readAll() == "sound");
  EXPECT_TRUE(path->text().endsWith(QStringLiteral(".wav"))) << path->text().toStdString();
}

}  // namespace
}  // namespace quillmere
