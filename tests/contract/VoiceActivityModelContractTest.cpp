#include "audio/VADModelManager.h"
#include "contract/Sides.h"
#include "platform/whisper/WhisperVoiceActivityModel.h"
#include "support/FakeVoiceActivityModel.h"
#include "support/SpeechClip.h"

namespace quillmere {
namespace {

struct FakeSide {
  FakeVoiceActivityModel model;
};
struct WhisperSide {
  WhisperVoiceActivityModel model{VADModelManager::sha256(), Logging()};
};

template <typename Side>
class VoiceActivityModelContract : public testing::Test, public Side {};
using Sides = testing::Types<FakeSide, WhisperSide>;
TYPED_TEST_SUITE(VoiceActivityModelContract, Sides, SideNames);

TYPED_TEST(VoiceActivityModelContract, AnalysesOnceItIsLoadedAndUntilItIsStopped) {
  const auto silence = SpeechClip::asFloats(SpeechClip::silence(2));
  std::atomic<bool> stop{false};
  const auto found = [&] { return this->model.segments(silence, {}, stop); };
  EXPECT_FALSE(found()) << "nothing is loaded yet";
  EXPECT_FALSE(this->model.load("/no/such/model.bin"));
  EXPECT_FALSE(this->model.isLoaded());
  const auto loaded =
      this->model.load(qEnvironmentVariable("QUILLMERE_BUILD_DIR") + "/models/" + VADModelManager::fileName());
  ASSERT_TRUE(loaded) << loaded.error().description.toStdString();
  EXPECT_TRUE(this->model.isLoaded());
  ASSERT_TRUE(found());
  EXPECT_TRUE(found()->empty());
  stop = true;
  EXPECT_FALSE(found());
  stop = false;
  EXPECT_TRUE(found());
}

}  // namespace
}  // namespace quillmere
