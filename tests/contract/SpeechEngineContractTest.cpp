#include <QFile>
#include <QTemporaryDir>

#include "contract/Sides.h"
#include "platform/whisper/WhisperSpeechEngine.h"
#include "support/FakeSpeechEngine.h"
#include "support/ScriptedWhisperModel.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

constexpr const char* text = "Grüße from the 2nd floor, isn't it?";

struct FakeSide {
  FakeSide() {
    engine.answer = [](const SpeechRunParameters&, int) {
      return FakeSpeechEngine::Answer{true, {QByteArray(" ") + text}, "en"};
    };
    engine.brokenFiles = {"cut.bin"};
  }
  FakeSpeechEngine engine;
};
struct WhisperSide {
  WhisperSpeechEngine engine{Logging()};
};

template <typename Side>
class SpeechEngineContract : public testing::Test, public Side {
 protected:
  QString write(const char* name, const QByteArray& content) {
    QFile file(folder.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    return file.fileName();
  }
  TestTexts texts;
  QTemporaryDir folder;
  const QByteArray model = ScriptedWhisperModel::bytes({.text = text});
};
using Sides = testing::Types<FakeSide, WhisperSide>;
TYPED_TEST_SUITE(SpeechEngineContract, Sides, SideNames);

TYPED_TEST(SpeechEngineContract, AContextHasTheResultsOfItsLastRunAndSurvivesAStop) {
  auto loaded = this->engine.load(this->write("model.bin", this->model));
  ASSERT_TRUE(loaded) << loaded.error().description.toStdString();
  const std::unique_ptr<SpeechEngineContext> context = std::move(loaded).value();
  EXPECT_EQ(context->detectedLanguage(), std::nullopt);
  EXPECT_EQ(context->segmentCount(), 0);
  SpeechRunParameters parameters;
  parameters.language = "en";
  const auto samples = std::make_shared<const std::vector<float>>(48000, 0.01f);
  for (int round = 0; round < 2; ++round) {
    const std::atomic<bool> goOn = false, stopped = true;
    ASSERT_TRUE(context->run(samples, parameters, goOn));
    ASSERT_EQ(context->segmentCount(), 1);
    EXPECT_EQ(context->segmentText(0), QByteArray(" ") + text);
    for (const int outside : {-1, 1}) EXPECT_EQ(context->segmentText(outside), QByteArray());
    EXPECT_EQ(context->detectedLanguage(), QByteArray("en"));
    EXPECT_FALSE(context->run(samples, parameters, stopped));
    EXPECT_EQ(context->segmentCount(), 0);
  }
}

TYPED_TEST(SpeechEngineContract, RefusesMissingAndCutFilesWithASentence) {
  EXPECT_FALSE(this->engine.unsupportedProcessor());
  for (const QString& path : {this->folder.filePath("missing.bin"), this->write("cut.bin", this->model.chopped(3))}) {
    const auto refused = this->engine.load(path);
    ASSERT_FALSE(refused);
    EXPECT_FALSE(refused.error().description.isEmpty());
  }
}

}  // namespace
}  // namespace quillmere
