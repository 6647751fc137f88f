#include "providers/LibWhisperProvider.h"

#include <gtest/gtest.h>

#include "support/LocalEngineFixture.h"

namespace quillmere {
namespace {

using E = TranscriptionError;
using Answer = FakeSpeechEngine::Answer;

const QString base = "base";
const QString german = "de";

QString textOf(const Result<SpeechAnswer, AnyError>& result) {
  if (result) return result->text;
  const auto* error = std::get_if<E>(&result.error());
  if (error == nullptr) return "error";
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
  request.vocabulary = {"Kubernetes", QString(), "Jürgen"};
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
  EXPECT_EQ(textOf(f.transcribe(request)), "Tag");
  late(1.0F);  // of a run that was left behind
  f.executor.runUntilIdle();
  EXPECT_EQ(heard, (std::vector<float>{0, 0.5F, 0.9F, 1.0F}));
}

// --- models

TEST(LibWhisperProvider, DecodesEachRequestWithItsOwnModelAndKeepsTheLast) {
  LocalEngineFixture f({"ggml-base.bin", "ggml-base.en.bin"});
  for (const char* model : {"base", "base", "base.en", "base"})
    EXPECT_TRUE(f.transcribe(f.request(QString::fromLatin1(model))));
  EXPECT_EQ(f.engine.loads(), (QStringList{"ggml-base.bin", "ggml-base.en.bin", "ggml-base.bin"}));
  EXPECT_EQ(f.engine.mostLoaded(), 1);
  QFile file(f.folder.filePath("models/ggml-base.bin"));
  ASSERT_TRUE(file.open(QIODevice::Append));
  file.write("another file");
  file.close();
  EXPECT_TRUE(f.transcribe(f.request(base)));
  EXPECT_EQ(f.engine.loads().size(), 4);
}

TEST(LibWhisperProvider, AFailedLoadLeavesNoModel) {
  LocalEngineFixture f({"ggml-base.bin", "ggml-tiny.bin"});
  const QString tiny = "tiny";
  ASSERT_TRUE(runTask(f.executor, f.provider->loadModel(base)));
  f.engine.brokenFiles = {"ggml-tiny.bin"};
  EXPECT_EQ(textOf(f.transcribe(f.request(tiny))), "Local Whisper: Failed to load model 'tiny'");
  EXPECT_EQ(f.engine.loaded(), 0);
  EXPECT_FALSE(runTask(f.executor, f.provider->loadModel(tiny)));
  f.engine.brokenFiles.clear();
  EXPECT_TRUE(f.transcribe(f.request(tiny, german)));
}

TEST(LibWhisperProvider, SaysWhatIsMissing) {
  LocalEngineFixture f;
  EXPECT_EQ(textOf(f.transcribe(f.request(QString()))),
            "Local Whisper: No model loaded. Please download a model first.");
  EXPECT_EQ(textOf(f.transcribe(f.request("small"))), "error model_not_downloaded");
  f.engine.unsupported = "This processor has no AVX2.";
  EXPECT_EQ(textOf(f.transcribe(f.request())), "Local Whisper: This processor has no AVX2.");
  EXPECT_TRUE(f.engine.loads().isEmpty());

  LocalEngineFixture empty{QStringList{}};
  EXPECT_FALSE(empty.provider->isAvailable());
  empty.addFile("models/ggml-base.bin");
  EXPECT_TRUE(runTask(empty.executor, empty.provider->loadModel(base)));  // an empty list is looked up
  EXPECT_TRUE(empty.provider->isAvailable());
}

TEST(LibWhisperProvider, MapsWhatGoesWrongWithTheAudio) {
  LocalEngineFixture f;
  f.samples.openError = MediaError::Kind::unsupported;
  EXPECT_EQ(textOf(f.transcribe(f.request(base, german))), "error invalid_audio_format");
  f.samples.openError.reset();
  f.samples.readError = MediaError::Kind::readFailed;
  EXPECT_EQ(textOf(f.transcribe(f.request(base, german))), "error audio_conversion_failed");
  f.samples.readError.reset();
  f.samples.frames = 0;
  EXPECT_EQ(textOf(f.transcribe(f.request(base, german))), "error audio_file_not_found");
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
      return "cancelled";
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
    EXPECT_EQ(other.end(), "Hello there.");
    EXPECT_EQ(cancelled.end(), "cancelled");
    EXPECT_EQ(f.engine.interruptedRuns(), at == At::run ? 1 : 0);
    EXPECT_EQ(f.engine.loads().size(), at == At::load ? 2 : 1) << "a cancelled load leaves no model";
    EXPECT_EQ(f.engine.mostLoaded(), 1);
  }
}

TEST(LibWhisperProvider, RequestsAndLoadsTakeTurnsInTheirOrder) {
  LocalEngineFixture f({"ggml-base.bin", "ggml-tiny.bin", "ggml-small.bin"});
  f.engine.holdRuns(true);
  Running first(f);
  first.start();
  f.runUntilRuns(1);
  auto tiny = first.scope.spawn(f.provider->loadModel("tiny"));
  auto cancelled = first.scope.spawn(f.provider->loadModel("medium"));
  Running second(f);
  second.start("small");
  f.executor.advance(std::chrono::seconds(5));
  EXPECT_EQ(f.engine.loads().size(), 1);
  cancelled.cancel();
  const TimePoint begin = f.executor.now();
  f.engine.holdRuns(false);
  const auto answer = runTask(f.executor, second.handle.join());
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->begin, begin) << "the wait isn't its work";
  EXPECT_EQ(first.end(), "Hello there.");
  EXPECT_TRUE(tiny.isDone() && cancelled.isDone());
  EXPECT_EQ(f.engine.loads(), (QStringList{"ggml-base.bin", "ggml-tiny.bin", "ggml-small.bin"}));
  EXPECT_EQ(f.engine.mostLoaded(), 1);
}

TEST(LibWhisperProvider, KeepsWhatWasSaidOutOfPublicLines) {
  LocalEngineFixture f;
  const QByteArray secret = "The password is swordfish. ";
  f.engine.answer = [&](const SpeechRunParameters&, int) { return Answer{true, {secret, secret.repeated(20)}, "en"}; };
  ASSERT_TRUE(f.transcribe(f.request(base, "en")));
  EXPECT_FALSE(f.log->publicLines().join(QLatin1Char('\n')).contains("swordfish"));
  EXPECT_TRUE(f.log->contains("swordfish"));
}

}  // namespace
}  // namespace quillmere
