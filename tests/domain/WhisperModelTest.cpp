#include "domain/WhisperModel.h"

namespace quillmere {
namespace {

using M = WhisperModel;

TEST(WhisperModelTest, LenientNames) {
  const std::pair<std::optional<M>, std::vector<const char*>> cases[] = {
      {M::largeV3Turbo, {"large-v3_turbo", "whisper-large-v3-turbo-custom"}},
      {M::tinyEn, {"tiny-small.en"}},  // the order of the tests decides
      {M::tiny, {"base-tiny", "Tiny"}},
      {M::largeV2, {"my-large-v2", "large_v2"}},
      // "large_v3" through the last rule; there is no English-only one; a large name wins over the small ones.
      {M::largeV3, {"LARGE-V3", "large_v3", "large", "large.en", "base-large-v3"}},
      {std::nullopt, {"parakeet-tdt-0.6b-v3", "cloud", ""}},
  };
  for (const auto& [expected, texts] : cases)
    for (const char* text : texts) EXPECT_EQ(lenientWhisperModel(text), expected) << text;
}

TEST(WhisperModelTest, FileNamesAreMatchedExactly) {
  for (const M model : allCases<M>()) EXPECT_EQ(whisperModelForFileName(fileName(model)), model);
  for (const char* other : {"ggml-large-v3_turbo.bin", "ggml-tiny.BIN", "ggml-tiny", "tiny", ""})
    EXPECT_EQ(whisperModelForFileName(QString::fromLatin1(other)), std::nullopt) << other;
}

}  // namespace
}  // namespace quillmere
