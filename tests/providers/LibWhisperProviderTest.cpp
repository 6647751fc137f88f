#include "providers/LibWhisperProvider.h"

#include <gtest/gtest.h>

#include "providers/WhisperContext.h"
#include "support/LocalEngineFixture.h"

namespace quillmere {
namespace {

using E = TranscriptionError;
using Answer = FakeSpeechEngine::Answer;

const AnyError interrupted = transcriptionError(E::StreamingInterrupted{});

VocabularyPtr word(std::optional<QString> text) {
  auto row = std::make_shared<Vocabulary>();
  row->word = std::move(text);
  return row;
}

QString textOf(const Result<QString, AnyError>& result) {
  if (result) return *result;
  const auto* error = std::get_if<E>(&result.error());
  if (error == nullptr) return QStringLiteral("error");
  if (const auto* reason = std::get_if<E::ProviderNotAvailable>(&error->kind))
    return *reason->provider + QStringLiteral(": ") + *reason->reason;
  return QStringLiteral("error ") + classify(*error).code;
}

// --- the ladder of runs

struct Ladder {
  const char* name;
  const char* model;
  std::optional<QString> language;
  std::vector<Answer> answers;  // one a run
  const char* expected;
  std::vector<const char*> runs;  // "language/translate"; "?" for detection
};

Answer says(QByteArray text, std::optional<QByteArray> detected = "de") {
  return {true, {std::move(text)}, detected};
}
Answer isSilent(std::optional<QByteArray> detected = "de") {
  return {true, {}, detected};
}
const Answer fails{false, {}, {}};

class LadderTest : public testing::TestWithParam<Ladder> {};

TEST_P(LadderTest, TakesTheRunsItShould) {
  const Ladder& ladder = GetParam();
  LocalEngineFixture f({QString::fromLatin1(ladder.model)});
  f.engine.answer = [&](const SpeechRunParameters&, int number) { return ladder.answers.at(size_t(number - 1)); };
  f.provider->setModel(*whisperModelForFileName(QString::fromLatin1(ladder.model)));
  EXPECT_EQ(textOf(f.transcribe(ladder.language)), QString::fromUtf8(ladder.expected));
  std::vector<QByteArray> runs;
  for (const auto& run : f.engine.runs()) {
    EXPECT_EQ(run.detectLanguage, !run.language.has_value());
    EXPECT_FLOAT_EQ(run.temperature, 0.2F);
    runs.push_back(run.language.value_or("?") + (run.translate ? "/en" : ""));
  }
  std::vector<QByteArray> expected(ladder.runs.begin(), ladder.runs.end());
  EXPECT_EQ(runs, expected);
}

INSTANTIATE_TEST_SUITE_P(
    , LadderTest,
    testing::Values(
        Ladder{"GivenLanguage", "ggml-base.bin", "de", {says(" Guten Tag.")}, "Guten Tag.", {"de"}},
        // Segments are joined with nothing between: the engine cuts a letter in two.
        Ladder{"CutLetter", "ggml-base.bin", "de", {{true, {" Gr\xC3", "\xBCn", ".  Ja"}, "de"}}, "Grün. Ja", {"de"}},
        Ladder{"EnglishOnly", "ggml-base.en.bin", std::nullopt, {says(" Hello.")}, "Hello.", {"en"}},
        Ladder{"DetectedIsForced", "ggml-base.bin", std::nullopt, {isSilent(), says("Tag")}, "Tag", {"?", "de"}},
        Ladder{"SilenceInALanguage", "ggml-base.bin", "de", {isSilent(), isSilent()}, "", {"de", "de/en"}},
        Ladder{
            "AllSilent", "ggml-base.bin", std::nullopt, {isSilent(), isSilent(), isSilent()}, "", {"?", "de", "de/en"}},
        Ladder{"NoLanguageNamed", "ggml-base.bin", std::nullopt, {isSilent({}), says("x y")}, "x y", {"?", "?/en"}},
        Ladder{"SecondRunFails",
               "ggml-base.bin",
               std::nullopt,
               {isSilent(), fails, says("Good day")},
               "Good day",
               {"?", "de", "de/en"}},
        Ladder{"ThirdRunFails", "ggml-base.bin", "de", {isSilent(), fails}, "", {"de", "de/en"}},
        Ladder{"OnlyMusic", "ggml-base.bin", "de", {says("[Music]"), says("(music)")}, "", {"de", "de/en"}},
        Ladder{"OnlyMarks", "ggml-base.bin", "de", {says("?!"), says("a")}, "a", {"de", "de/en"}},
        Ladder{"RegionIsCut", "ggml-base.bin", "zh-hant", {says("你好")}, "你好", {"zh"}},
        Ladder{"FirstRunFails",
               "ggml-base.bin",
               "de",
               {fails},
               "Local Whisper: Transcription failed. The audio may be corrupted or too short.",
               {"de"}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(LibWhisperProvider, GivesTheWordsAsPromptAndForgetsThem) {
  LocalEngineFixture f;
  f.provider->setModel(WhisperModel::base);
  (void)f.transcribe(QStringLiteral("de"),
                     {word(QStringLiteral("Kubernetes")), word(std::nullopt), word(QStringLiteral("Jürgen"))});
  (void)f.transcribe(QStringLiteral("de"));
  ASSERT_EQ(f.engine.runs().size(), 2U);
  EXPECT_EQ(f.engine.runs()[0].initialPrompt, QStringLiteral("Kubernetes  Jürgen").toUtf8());
  EXPECT_EQ(f.engine.runs()[1].initialPrompt, std::nullopt);
}

TEST(WhisperContext, LeavesTwoProcessorsFree) {
  const std::vector<std::pair<int, int>> table{{0, 1}, {1, 1}, {2, 1}, {3, 1}, {4, 2}, {9, 7}, {10, 8}, {64, 8}};
  for (const auto& [processors, threads] : table) EXPECT_EQ(WhisperContext::threadCount(processors), threads);
}

// --- models

TEST(LibWhisperProvider, TakesTheEnglishSisterOnlyWhereItIsOnTheDisk) {
  struct Case {
    QStringList files;
    WhisperModel model;
    bool englishOnly;
    const char* loaded;
  };
  const QString base = QStringLiteral("ggml-base.bin");
  const QString baseEn = QStringLiteral("ggml-base.en.bin");
  const std::vector<Case> table{{{base}, WhisperModel::base, true, "ggml-base.bin"},
                                {{base, baseEn}, WhisperModel::base, true, "ggml-base.en.bin"},
                                {{base, baseEn}, WhisperModel::base, false, "ggml-base.bin"},
                                {{base, baseEn}, WhisperModel::baseEn, true, "ggml-base.en.bin"}};
  for (const Case& c : table) {
    LocalEngineFixture f(c.files);
    EXPECT_TRUE(runTask(f.executor, f.provider->load(c.model, c.englishOnly)));
    EXPECT_EQ(f.engine.loads(), QStringList{QString::fromLatin1(c.loaded)});
    EXPECT_TRUE(f.provider->isModelReady());
  }
}

TEST(LibWhisperProvider, KeepsTheModelWhileItsFileStays) {
  LocalEngineFixture f({QStringLiteral("ggml-base.bin"), QStringLiteral("ggml-tiny.bin")});
  for (const WhisperModel model : {WhisperModel::base, WhisperModel::base, WhisperModel::tiny, WhisperModel::base}) {
    f.provider->setModel(model);
    EXPECT_TRUE(f.transcribe(QStringLiteral("de")));
  }
  EXPECT_EQ(f.engine.loads().size(), 3);
  EXPECT_EQ(f.engine.mostLoaded(), 1);
  QFile file(f.folder.filePath(QStringLiteral("models/ggml-base.bin")));
  ASSERT_TRUE(file.open(QIODevice::Append));
  file.write("another file");
  file.close();
  f.provider->setModel(WhisperModel::base);
  EXPECT_TRUE(f.transcribe(QStringLiteral("de")));
  EXPECT_EQ(f.engine.loads().size(), 4);
}

TEST(LibWhisperProvider, AFailedLoadLeavesNoModel) {
  LocalEngineFixture f({QStringLiteral("ggml-base.bin"), QStringLiteral("ggml-tiny.bin")});
  ASSERT_TRUE(runTask(f.executor, f.provider->loadModel(QStringLiteral("base"))));
  f.engine.brokenFiles = {QStringLiteral("ggml-tiny.bin")};
  f.provider->setModel(WhisperModel::tiny);
  EXPECT_EQ(textOf(f.transcribe()), QStringLiteral("Local Whisper: Failed to load model 'tiny'"));
  EXPECT_EQ(f.provider->pendingModel(), QStringLiteral("tiny"));
  EXPECT_FALSE(f.provider->isModelReady());
  EXPECT_EQ(f.engine.loaded(), 0);
  EXPECT_FALSE(runTask(f.executor, f.provider->load(WhisperModel::tiny, false)));
  f.engine.brokenFiles.clear();
  EXPECT_TRUE(f.transcribe(QStringLiteral("de")));  // the pending model is tried again
}

TEST(LibWhisperProvider, SaysWhatIsMissing) {
  {
    LocalEngineFixture f;
    EXPECT_EQ(textOf(f.transcribe()), QStringLiteral("Local Whisper: No model loaded. Please download a model first."));
    f.provider->setModel(WhisperModel::small);
    EXPECT_EQ(textOf(f.transcribe()), QStringLiteral("error model_not_downloaded"));
  }
  LocalEngineFixture empty{QStringList{}};
  EXPECT_FALSE(empty.provider->isAvailable());
  empty.addFile(QStringLiteral("models/ggml-base.bin"));
  EXPECT_TRUE(
      runTask(empty.executor, empty.provider->loadModel(QStringLiteral("base"))));  // an empty list is looked up
  EXPECT_TRUE(empty.provider->isAvailable());
}

TEST(LibWhisperProvider, RefusesAProcessorThatCannotRunTheEngine) {
  LocalEngineFixture f;
  f.engine.unsupported = QStringLiteral("This processor has no AVX2.");
  f.provider->setModel(WhisperModel::base);
  EXPECT_EQ(textOf(f.transcribe()), QStringLiteral("Local Whisper: This processor has no AVX2."));
  EXPECT_TRUE(f.engine.loads().isEmpty());
}

TEST(LibWhisperProvider, MapsWhatGoesWrongWithTheAudio) {
  using M = MediaError::Kind;
  struct Case {
    std::optional<M> openError;
    std::optional<M> readError;
    qint64 frames;
    const char* expected;
  };
  const std::vector<Case> table{{M::cannotOpen, {}, 1, "error invalid_audio_format"},
                                {M::unsupported, {}, 1, "error invalid_audio_format"},
                                {{}, M::readFailed, 1, "error audio_conversion_failed"},
                                {{}, {}, 0, "error audio_file_not_found"},
                                {{}, {}, 1, "Hello there."}};
  for (const Case& c : table) {
    LocalEngineFixture f;
    f.provider->setModel(WhisperModel::base);
    f.samples.openError = c.openError;
    f.samples.readError = c.readError;
    f.samples.frames = c.frames;
    EXPECT_EQ(textOf(f.transcribe(QStringLiteral("de"))), QString::fromLatin1(c.expected));
  }
}

// --- cancelling and races

struct Running {
  explicit Running(LocalEngineFixture& fixture) : f(fixture), scope(f.executor) {
    f.provider->setModel(WhisperModel::base);
  }
  void start() { handle = scope.spawn(f.provider->transcribe(f.audioPath, QStringLiteral("de"), nullptr, {})); }
  // "cancelled", the text or the error.
  QString end() {
    try {
      return textOf(runTask(f.executor, handle.join()));
    } catch (const Cancelled&) {
      return QStringLiteral("cancelled");
    }
  }
  LocalEngineFixture& f;
  TaskScope scope;
  TaskHandle<Result<QString, AnyError>> handle;
};

TEST(LibWhisperProvider, CancelBreaksARunningDecodeOff) {
  for (const bool isCallersCancel : {false, true}) {
    LocalEngineFixture f;
    f.engine.holdRuns(true);
    Running running(f);
    running.start();
    f.runUntilRuns(1);
    if (isCallersCancel)
      running.handle.cancel();
    else
      f.provider->cancel();
    EXPECT_EQ(running.end(),
              isCallersCancel ? QStringLiteral("cancelled") : QStringLiteral("error streaming_interrupted"));
    EXPECT_EQ(f.engine.interruptedRuns(), 1);
    f.engine.holdRuns(false);
    EXPECT_EQ(textOf(f.transcribe(QStringLiteral("de"))), QStringLiteral("Hello there."));
    EXPECT_EQ(f.engine.loads().size(), 1);
  }
}

TEST(LibWhisperProvider, CancelWhileTheModelLoadsEndsTheCall) {
  for (const bool isCallersCancel : {false, true}) {
    LocalEngineFixture f;
    f.engine.holdLoads(true);
    Running running(f);
    running.start();
    f.executor.runReady();
    f.engine.waitForLoads(1);
    if (isCallersCancel)
      running.handle.cancel();
    else
      f.provider->cancel();
    f.engine.holdLoads(false);
    EXPECT_EQ(running.end(),
              isCallersCancel ? QStringLiteral("cancelled") : QStringLiteral("error streaming_interrupted"));
    EXPECT_TRUE(f.engine.runs().empty());
    f.executor.runUntilIdle();
    EXPECT_EQ(f.engine.loaded(), isCallersCancel ? 0 : 1);
    f.provider->setModel(WhisperModel::base);
    EXPECT_EQ(textOf(f.transcribe(QStringLiteral("de"))), QStringLiteral("Hello there."));
  }
}

TEST(LibWhisperProvider, ANewerCallEndsTheOlderOne) {
  LocalEngineFixture f;
  f.engine.holdRuns(true);
  Running older(f);
  older.start();
  f.runUntilRuns(1);
  Running newer(f);
  newer.start();
  f.executor.runReady();
  f.engine.holdRuns(false);
  EXPECT_EQ(newer.end(), QStringLiteral("Hello there."));
  EXPECT_EQ(older.end(), QStringLiteral("error streaming_interrupted"));
}

TEST(LibWhisperProvider, ALoadWaitsForTheRunAndForOtherLoads) {
  LocalEngineFixture f(
      {QStringLiteral("ggml-base.bin"), QStringLiteral("ggml-tiny.bin"), QStringLiteral("ggml-small.bin")});
  f.engine.holdRuns(true);
  Running running(f);
  running.start();
  f.runUntilRuns(1);
  auto tiny = running.scope.spawn(f.provider->loadModel(QStringLiteral("tiny")));
  auto cancelled = running.scope.spawn(f.provider->loadModel(QStringLiteral("medium")));
  auto small = running.scope.spawn(f.provider->loadModel(QStringLiteral("small")));
  f.executor.runReady();
  EXPECT_EQ(f.engine.loads().size(), 1);
  cancelled.cancel();
  f.engine.holdRuns(false);
  f.executor.runUntilIdle();
  EXPECT_EQ(running.end(), QStringLiteral("Hello there."));
  EXPECT_TRUE(tiny.isDone() && small.isDone() && cancelled.isDone());
  EXPECT_EQ(f.engine.loads(), (QStringList{QStringLiteral("ggml-base.bin"), QStringLiteral("ggml-tiny.bin"),
                                           QStringLiteral("ggml-small.bin")}));
  EXPECT_EQ(f.engine.mostLoaded(), 1);
  EXPECT_EQ(f.provider->currentModel()->name, QStringLiteral("small"));
}

TEST(LibWhisperProvider, KeepsWhatWasSaidOutOfPublicLines) {
  LocalEngineFixture f;
  f.provider->setModel(WhisperModel::base);
  const QByteArray secret = "The password is swordfish. ";
  f.engine.answer = [&](const SpeechRunParameters&, int) { return Answer{true, {secret, secret.repeated(20)}, "en"}; };
  ASSERT_TRUE(f.transcribe(QStringLiteral("en")));
  EXPECT_FALSE(f.log->publicLines().join(QLatin1Char('\n')).contains(QStringLiteral("swordfish")));
  EXPECT_TRUE(f.log->contains(QStringLiteral("swordfish")));
}

}  // namespace
}  // namespace quillmere
