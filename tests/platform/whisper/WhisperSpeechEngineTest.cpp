#include "platform/whisper/WhisperSpeechEngine.h"

#include <gtest/gtest.h>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <random>
#include <thread>

#include "support/ScriptedWhisperModel.h"

namespace quillmere {
namespace {

using Options = ScriptedWhisperModel::Options;
using Stopwatch = std::chrono::steady_clock;

SpeechSamples hum(double seconds) {
  std::vector<float> samples(static_cast<std::size_t>(seconds * 16000));
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = 0.1f * std::sin(static_cast<float>(i) * 0.05f);
  return std::make_shared<const std::vector<float>>(std::move(samples));
}

SpeechRunParameters inLanguage(const char* language) {
  SpeechRunParameters parameters;
  parameters.language = language;
  return parameters;
}

class WhisperSpeechEngineTest : public testing::Test {
 protected:
  QString write(const QByteArray& content) {
    QFile file(folder_.filePath("model.bin"));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    return file.fileName();
  }
  std::unique_ptr<SpeechEngineContext> load(const Options& options) {
    auto loaded = engine_.load(write(ScriptedWhisperModel::bytes(options)));
    if (!loaded) ADD_FAILURE() << qPrintable(loaded.error().description);
    return loaded ? std::move(loaded).value() : nullptr;
  }
  static QByteArray textOf(const SpeechEngineContext& context) {
    QByteArray text;
    for (int i = 0; i < context.segmentCount(); ++i) text += context.segmentText(i);
    return text;
  }
  static inline const std::atomic<bool> goOn_ = false;
  // Seconds from the request until the engine is out of a run that is stopped after `runFor`.
  static double secondsToStop(SpeechEngineContext& context, const SpeechRunParameters& parameters, double runFor) {
    std::atomic<bool> stop = false;
    Stopwatch::time_point requested;
    std::thread stopper([&] {
      std::this_thread::sleep_for(std::chrono::duration<double>(runFor));
      requested = Stopwatch::now();
      stop = true;
    });
    EXPECT_FALSE(context.run(hum(5), parameters, stop));
    EXPECT_TRUE(context.run(nullptr, parameters, goOn_));  // waits until the engine is out of the stopped run
    const auto ended = Stopwatch::now();
    stopper.join();
    EXPECT_EQ(context.segmentCount(), 0);
    return std::chrono::duration<double>(ended - requested).count();
  }

  QTemporaryDir folder_;
  WhisperSpeechEngine engine_{Logging()};
};

TEST_F(WhisperSpeechEngineTest, GivesOneSegmentAWindowAndBearsAPrompt) {
  const auto context = load({.isEnglishOnly = true});
  ASSERT_TRUE(context);
  SpeechRunParameters parameters = inLanguage("en");
  parameters.initialPrompt = "Quillmere Łódź naïve 東京";
  std::vector<float> progress;
  parameters.onProgress = [&](float share) { progress.push_back(share); };
  ASSERT_TRUE(context->run(hum(65), parameters, goOn_));
  EXPECT_GE(progress.size(), 3U);
  EXPECT_TRUE(std::ranges::is_sorted(progress));
  EXPECT_EQ(progress.front(), 0.0F);
  EXPECT_GT(progress.back(), 0.8F);
  EXPECT_EQ(context->segmentCount(), 3);
  EXPECT_EQ(context->segmentText(1), ' ' + Options().text);
}

TEST_F(WhisperSpeechEngineTest, DetectsALanguageInOneRunAndDecodesOrTranslatesInTheNext) {
  const auto context = load({.text = "", .translation = "Good morning.", .language = "de"});
  ASSERT_TRUE(context);
  SpeechRunParameters parameters;
  parameters.detectLanguage = true;
  ASSERT_TRUE(context->run(hum(2), parameters, goOn_));
  EXPECT_EQ(context->segmentCount(), 0);
  EXPECT_EQ(context->detectedLanguage(), QByteArray("de"));
  parameters = inLanguage("de");
  ASSERT_TRUE(context->run(hum(2), parameters, goOn_));
  EXPECT_EQ(context->segmentCount(), 0);
  parameters.translate = true;
  ASSERT_TRUE(context->run(hum(2), parameters, goOn_));
  EXPECT_EQ(textOf(*context), " Good morning.");
}

TEST_F(WhisperSpeechEngineTest, SaysNothingWithoutSamplesAndFailsOnAnUnknownLanguage) {
  const auto context = load({});
  ASSERT_TRUE(context);
  ASSERT_TRUE(context->run(hum(2), inLanguage("en"), goOn_));
  ASSERT_EQ(context->segmentCount(), 1);
  EXPECT_TRUE(context->run({}, inLanguage("en"), goOn_));
  EXPECT_EQ(context->segmentCount(), 0);
  EXPECT_FALSE(context->run(hum(2), inLanguage("xx"), goOn_));
  // Far below the length of one frame.
  EXPECT_TRUE(context->run(hum(0.01), inLanguage("en"), goOn_));
}

TEST_F(WhisperSpeechEngineTest, StopsInTheMiddleOfAnEncoderRun) {
  const auto context = load({.width = 256, .heads = 4, .encoderLayers = 12});
  ASSERT_TRUE(context);
  SpeechRunParameters detection;
  detection.detectLanguage = true;
  ASSERT_TRUE(context->run(hum(5), inLanguage("en"), goOn_));  // memory warm
  const auto start = Stopwatch::now();
  ASSERT_TRUE(context->run(hum(5), inLanguage("en"), goOn_));
  const double whole = std::chrono::duration<double>(Stopwatch::now() - start).count();

  // Without the hook, a run ends when its encoder is done: 0.9 of the whole. Against the machine's own speed, not a
  // clock.
  EXPECT_LT(secondsToStop(*context, inLanguage("en"), whole * 0.1), whole * 0.5);
  EXPECT_LT(secondsToStop(*context, detection, whole * 0.1), whole * 0.5);
  ASSERT_TRUE(context->run(hum(5), inLanguage("en"), goOn_));
  EXPECT_EQ(textOf(*context), ' ' + Options().text);
}

TEST_F(WhisperSpeechEngineTest, DoesNotWaitForTheSpectrogramOfALongRecording) {
  const auto context = load({});
  ASSERT_TRUE(context);
  const SpeechSamples tenMinutes = hum(600);
  std::atomic<bool> stop = false;
  std::thread stopper([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    stop = true;
  });
  const auto start = Stopwatch::now();
  EXPECT_FALSE(context->run(tenMinutes, inLanguage("en"), stop));
  const auto returned = Stopwatch::now();
  stopper.join();
  EXPECT_TRUE(context->run(nullptr, inLanguage("en"), goOn_));
  const auto out = Stopwatch::now();
  EXPECT_LT(returned - start, (out - start) / 2) << "the caller waited for the engine";
  ASSERT_TRUE(context->run(hum(2), inLanguage("en"), goOn_));
  EXPECT_EQ(textOf(*context), ' ' + Options().text);
}

TEST_F(WhisperSpeechEngineTest, SurvivesFlippedBits) {
  const QByteArray whole = ScriptedWhisperModel::bytes({});
  std::mt19937 random(3);
  int loadedModels = 0;
  for (int i = 0; i < 40; ++i) {
    QByteArray damaged = whole;
    // Half of them in the header, half anywhere in the words, the table of tensors and the weights.
    const auto range = i % 2 == 0 ? 60u : static_cast<unsigned>(whole.size());
    const auto at = static_cast<qsizetype>(random() % range);
    damaged[at] = static_cast<char>(damaged[at] ^ (1 << (random() % 8)));
    const auto loaded = engine_.load(write(damaged));
    if (!loaded) continue;
    ++loadedModels;
    loaded.value()->run(hum(1), inLanguage("en"), goOn_);
  }
  EXPECT_GT(loadedModels, 5);  // flips of weights and words can't be seen
}

TEST_F(WhisperSpeechEngineTest, RefusesEveryModelOnAProcessorThatLacksSomething) {
  EXPECT_FALSE(engine_.unsupportedProcessor());
  EngineProcessor old{true, true, false, false, true, true};
  WhisperSpeechEngine engine(Logging(), GgmlModelChecks::whole, old);
  ASSERT_TRUE(engine.unsupportedProcessor());
  const auto loaded = engine.load(write(ScriptedWhisperModel::bytes({})));
  ASSERT_FALSE(loaded);
  EXPECT_EQ(loaded.error().description, *engine.unsupportedProcessor());
}

}  // namespace
}  // namespace quillmere
