#include "platform/whisper/WhisperVoiceActivityModel.h"

#include <QFile>
#include <chrono>
#include <thread>

#include "audio/SpeechRanges.h"
#include "audio/VADModelManager.h"
#include "platform/whisper/WhisperSpeechEngine.h"
#include "support/SampleMedia.h"
#include "support/ScriptedWhisperModel.h"
#include "support/SpeechClip.h"

namespace quillmere {
namespace {

using Stopwatch = std::chrono::steady_clock;

class WhisperVoiceActivityModelTest : public ::testing::Test {
 protected:
  static QString builtModel() {
    return qEnvironmentVariable("QUILLMERE_BUILD_DIR") + "/models/" + VADModelManager::fileName();
  }
  auto segments(const std::vector<float>& samples) { return model.segments(samples, {}, stop); }

  WhisperSpeechEngine engine{Logging()};  // keeps the library's log
  WhisperVoiceActivityModel model{VADModelManager::sha256(), Logging()};
  std::atomic<bool> stop{false};
};

TEST_F(WhisperVoiceActivityModelTest, FindsTheSpeechBetweenTheSilences) {
  const QByteArray clip = SpeechClip::pcm();
  ASSERT_EQ(clip.size(), 2 * 11 * 16000) << "third_party/fetch.sh brings the clip";
  const auto samples = SpeechClip::asFloats(SpeechClip::silence(3) + clip + SpeechClip::silence(4));
  const auto loaded = model.load(builtModel());
  ASSERT_TRUE(loaded) << loaded.error().description.toStdString();

  const TimeRange expected[] = {{3.3f, 5.3f}, {6.3f, 7.4f}, {8.4f, 10.7f}, {11.2f, 13.6f}};
  for (int round = 0; round < 2; ++round) {
    const auto found = segments(samples);
    ASSERT_TRUE(found);
    std::vector<TimeRange> ranges;
    for (const VoiceActivitySegment& segment : *found) ranges.push_back({segment.t0 / 100, segment.t1 / 100});
    const auto merged = mergeSegments(ranges, 200);
    ASSERT_EQ(merged.size(), 4u) << "the second round must not remember the first";
    for (size_t i = 0; i < 4; ++i) {
      EXPECT_NEAR(merged[i].start, expected[i].start, 0.15) << i;
      EXPECT_NEAR(merged[i].end, expected[i].end, 0.15) << i;
    }
  }
  VoiceActivityParameters strict;
  strict.minSpeechDurationMs = 1500;
  EXPECT_EQ(model.segments(samples, strict, stop)->size(), 3u) << "the parameters reach the model";

  EXPECT_TRUE(segments({})->empty());
  EXPECT_TRUE(segments({0.1f, 0.2f})->empty());
}

TEST_F(WhisperVoiceActivityModelTest, AStopEndsALongAnalysis) {
  ASSERT_TRUE(model.load(builtModel()));
  const std::vector<float> halfHour(30 * 60 * 16000);
  const auto start = Stopwatch::now();
  EXPECT_TRUE(segments(std::vector<float>(60 * 16000)));
  const auto oneMinute = Stopwatch::now() - start;
  std::thread stopper([&] { stop = true; });
  const auto restart = Stopwatch::now();
  const auto found = segments(halfHour);
  const auto stopped = Stopwatch::now() - restart;
  stopper.join();
  EXPECT_LT(stopped, 10 * oneMinute);
  EXPECT_FALSE(found);
}

TEST_F(WhisperVoiceActivityModelTest, RefusesEveryOtherFile) {
  SampleMedia files;
  QFile file(builtModel());
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  const QByteArray whole = file.readAll();
  QByteArray flipped = whole;
  flipped[400000] = char(flipped[400000] ^ 1);
  EXPECT_FALSE(model.load(files.path(".")));
  for (const QByteArray& bytes : {QByteArray(), whole.left(50), whole.left(500000), whole.chopped(1), whole + 'x',
                                  flipped, ScriptedWhisperModel::bytes({})})
    EXPECT_FALSE(model.load(files.write("model.bin", bytes))) << bytes.size();
  EXPECT_FALSE(model.isLoaded());
  EXPECT_TRUE(model.load(files.write("model.bin", whole)));
}

}  // namespace
}  // namespace quillmere
