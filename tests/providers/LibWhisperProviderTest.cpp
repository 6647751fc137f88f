#include "providers/LibWhisperProvider.h"

#include <gtest/gtest.h>

#include "providers/WhisperContext.h"
#include "support/LocalEngineFixture.h"

namespace quillmere {
namespace {

using E = TranscriptionError;
using Answer = FakeSpeechEngine::Answer;

const QString base = QStringLiteral("base");
const QString german = QStringLiteral("de");

QString textOf(const Result<SpeechAnswer, AnyError>& result) {
  if (result) return result->text;
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
  const QString model = rawValue(*whisperModelForFileName(QString::fromLatin1(ladder.model)));
  EXPECT_EQ(textOf(f.transcribe(f.request(model, ladder.language))), QString::fromUtf8(ladder.expected));
  std::vector<QByteArray> runs;
  for (const auto& run : f.engine.runs()) {
    EXPECT_EQ(run.detectLanguage, !run.language.has_value());
    EXPECT_EQ(run.temperature, 0);
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
  auto request = f.request(base, german);
  request.vocabulary = {QStringLiteral("Kubernetes"), QString(), QStringLiteral("Jürgen")};
  (void)f.transcribe(request);
  (void)f.transcribe(f.request(base, german));
  ASSERT_EQ(f.engine.runs().size(), 2U);
  EXPECT_EQ(f.engine.runs()[0].initialPrompt, QStringLiteral("Kubernetes  Jürgen").toUtf8());
  EXPECT_EQ(f.engine.runs()[1].initialPrompt, std::nullopt);
}

TEST(LibWhisperProvider, TellsItsProgressWhichOnlyRises) {
  LocalEngineFixture f;
  std::function<void(float)> late;
  f.engine.answer = [&](const SpeechRunParameters& run, int number) {
    if (number == 1) return isSilent();
    for (const float share : {0.0F, 0.5F, 0.3F, 0.9F, 1.1F}) run.onProgress(share);
    late = run.onProgress;
    return says("Tag");
  };
  auto request = f.request(base);
  std::vector<float> heard;
  request.onProgress = [&](float share) { heard.push_back(share); };
  EXPECT_EQ(textOf(f.transcribe(request)), QStringLiteral("Tag"));
  late(1.0F);  // of a run that was left behind
  f.executor.runUntilIdle();
  EXPECT_EQ(heard, (std::vector<float>{0.5F, 0.9F, 1.0F}));
}

TEST(WhisperContext, LeavesTwoProcessorsFreeWhereThereAreMany) {
  const std::vector<std::pair<int, int>> table{{0, 1}, {1, 1}, {2, 2}, {3, 3},  {4, 4},
                                               {5, 4}, {6, 4}, {9, 7}, {10, 8}, {64, 8}};
  for (const auto& [processors, threads] : table) EXPECT_EQ(WhisperContext::threadCount(processors), threads);
}

// --- models

TEST(LibWhisperProvider, DecodesEachRequestWithItsOwnModelAndKeepsTheLast) {
  LocalEngineFixture f({QStringLiteral("ggml-base.bin"), QStringLiteral("ggml-base.en.bin")});
  for (const char* model : {"base", "base", "base.en", "base"})
    EXPECT_TRUE(f.transcribe(f.request(QString::fromLatin1(model))));
  EXPECT_EQ(f.engine.loads(), (QStringList{QStringLiteral("ggml-base.bin"), QStringLiteral("ggml-base.en.bin"),
                                           QStringLiteral("ggml-base.bin")}));
  EXPECT_EQ(f.engine.mostLoaded(), 1);
  QFile file(f.folder.filePath(QStringLiteral("models/ggml-base.bin")));
  ASSERT_TRUE(file.open(QIODevice::Append));
  file.write("another file");
  file.close();
  EXPECT_TRUE(f.transcribe(f.request(base)));
  EXPECT_EQ(f.engine.loads().size(), 4);
}

TEST(LibWhisperProvider, AFailedLoadLeavesNoModel) {
  LocalEngineFixture f({QStringLiteral("ggml-base.bin"), QStringLiteral("ggml-tiny.bin")});
  const QString tiny = QStringLiteral("tiny");
  ASSERT_TRUE(runTask(f.executor, f.provider->loadModel(base)));
  EXPECT_TRUE(f.provider->isModelReady());
  f.engine.brokenFiles = {QStringLiteral("ggml-tiny.bin")};
  EXPECT_EQ(textOf(f.transcribe(f.request(tiny))), QStringLiteral("Local Whisper: Failed to load model 'tiny'"));
  EXPECT_FALSE(f.provider->isModelReady());
  EXPECT_EQ(f.engine.loaded(), 0);
  EXPECT_FALSE(runTask(f.executor, f.provider->loadModel(tiny)));
  f.engine.brokenFiles.clear();
  EXPECT_TRUE(f.transcribe(f.request(tiny, german)));
}

TEST(LibWhisperProvider, SaysWhatIsMissing) {
  LocalEngineFixture f;
  EXPECT_EQ(textOf(f.transcribe(f.request(QString()))),
            QStringLiteral("Local Whisper: No model loaded. Please download a model first."));
  EXPECT_EQ(textOf(f.transcribe(f.request(QStringLiteral("small")))), QStringLiteral("error model_not_downloaded"));
  f.engine.unsupported = QStringLiteral("This processor has no AVX2.");
  EXPECT_EQ(textOf(f.transcribe(f.request())), QStringLiteral("Local Whisper: This processor has no AVX2."));
  EXPECT_TRUE(f.engine.loads().isEmpty());

  LocalEngineFixture empty{QStringList{}};
  EXPECT_FALSE(empty.provider->isAvailable());
  empty.addFile(QStringLiteral("models/ggml-base.bin"));
  EXPECT_TRUE(runTask(empty.executor, empty.provider->loadModel(base)));  // an empty list is looked up
  EXPECT_TRUE(empty.provider->isAvailable());
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
    f.samples.openError = c.openError;
    f.samples.readError = c.readError;
    f.samples.frames = c.frames;
    EXPECT_EQ(textOf(f.transcribe(f.request(base, german))), QString::fromLatin1(c.expected));
  }
}

// --- cancelling and turns

struct Running {
  explicit Running(LocalEngineFixture& fixture) : f(fixture), scope(f.executor) {}
  void start(const QString& model = base) { handle = scope.spawn(f.provider->transcribe(f.request(model, german))); }
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
  TaskHandle<Result<SpeechAnswer, AnyError>> handle;
};

TEST(LibWhisperProvider, ACancelEndsOnlyTheRequestOfItsTaskWhereverThatIs) {
  enum class At { load, run, queue };
  for (const At at : {At::load, At::run, At::queue}) {
    LocalEngineFixture f;
    f.engine.holdLoads(at == At::load);
    f.engine.holdRuns(true);
    Running first(f);
    Running second(f);
    first.start();
    second.start();
    f.executor.runReady();
    if (at == At::load)
      f.engine.waitForLoads(1);
    else
      f.runUntilRuns(1);
    Running& cancelled = at == At::queue ? second : first;
    Running& other = at == At::queue ? first : second;
    cancelled.handle.cancel();
    if (at == At::queue) {
      f.executor.runReady();
      EXPECT_TRUE(cancelled.handle.isDone()) << "it leaves the queue at once";
    }
    f.engine.holdLoads(false);
    f.engine.holdRuns(false);
    EXPECT_EQ(other.end(), QStringLiteral("Hello there."));
    EXPECT_EQ(cancelled.end(), QStringLiteral("cancelled"));
    EXPECT_EQ(f.engine.interruptedRuns(), at == At::run ? 1 : 0);
    EXPECT_EQ(f.engine.loads().size(), at == At::load ? 2 : 1) << "a cancelled load leaves no model";
    EXPECT_EQ(f.engine.mostLoaded(), 1);
  }
}

TEST(LibWhisperProvider, RequestsAndLoadsTakeTurnsInTheirOrder) {
  LocalEngineFixture f({QStringLiteral("ggml-base.bin"), QStringLiteral("ggml-base.en.bin")});
  f.engine.holdRuns(true);
  Running first(f);
  first.start();
  f.runUntilRuns(1);
  Running second(f);
  second.start(QStringLiteral("base.en"));
  Running third(f);
  third.start();
  f.executor.advance(std::chrono::seconds(5));
  EXPECT_EQ(f.engine.loads().size(), 1);
  const TimePoint begin = f.executor.now();
  f.engine.holdRuns(false);
  const auto answer = runTask(f.executor, third.handle.join());
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->begin, begin) << "the wait isn't its work";
  EXPECT_EQ(f.engine.loads(), (QStringList{QStringLiteral("ggml-base.bin"), QStringLiteral("ggml-base.en.bin"),
                                           QStringLiteral("ggml-base.bin")}));
  EXPECT_EQ(first.end(), QStringLiteral("Hello there."));
  EXPECT_EQ(second.end(), QStringLiteral("Hello there."));
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
  const QByteArray secret = "The password is swordfish. ";
  f.engine.answer = [&](const SpeechRunParameters&, int) { return Answer{true, {secret, secret.repeated(20)}, "en"}; };
  ASSERT_TRUE(f.transcribe(f.request(base, QStringLiteral("en"))));
  EXPECT_FALSE(f.log->publicLines().join(QLatin1Char('\n')).contains(QStringLiteral("swordfish")));
  EXPECT_TRUE(f.log->contains(QStringLiteral("swordfish")));
}

}  // namespace
}  // namespace quillmere
