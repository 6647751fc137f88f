#include "domain/WhisperModel.h"

namespace quillmere {
namespace {

using M = WhisperModel;

TEST(WhisperModelTest, LenientNames) {
  const std::pair<const char*, std::optional<M>> cases[] = {
      {"large-v3_turbo", M::largeV3Turbo},
      {"whisper-large-v3-turbo-custom", M::largeV3Turbo},
      {"ggml-base.en", M::baseEn},
      {"ggml-Medium.EN.bin", M::mediumEn},
      {"tiny-small.en", M::tinyEn},  // the order of the tests decides
      {"base-tiny", M::tiny},
      {"my-large-v2", M::largeV2},
      {"large_v2", M::largeV2},
      {"LARGE-V3", M::largeV3},
      {"large_v3", M::largeV3},  // through the last rule
      {"large", M::largeV3},
      {"large.en", M::largeV3},       // there is no English-only one
      {"base-large-v3", M::largeV3},  // a large name wins over the small ones
      {"Tiny", M::tiny},
      {"parakeet-tdt-0.6b-v3", std::nullopt},
      {"cloud", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& [text, expected] : cases)
    EXPECT_EQ(lenientWhisperModel(QString::fromLatin1(text)), expected) << text;
  for (const M model : allCases<M>()) EXPECT_EQ(lenientWhisperModel(rawValue(model)), model);
}

TEST(WhisperModelTest, FileNamesAreMatchedExactly) {
  for (const M model : allCases<M>()) EXPECT_EQ(whisperModelForFileName(fileName(model)), model);
  EXPECT_EQ(fileName(M::largeV3Turbo), "ggml-large-v3-turbo.bin");
  for (const char* other : {"ggml-large-v3_turbo.bin", "ggml-tiny.BIN", "ggml-tiny", "tiny", ""})
    EXPECT_EQ(whisperModelForFileName(QString::fromLatin1(other)), std::nullopt) << other;
}

TEST(WhisperModelTest, ChecksumsAreDistinctAndWellFormed) {
  QSet<QString> seen;
  for (const M model : allCases<M>()) {
    const QString sum = expectedSha256(model);
    EXPECT_EQ(sum.size(), 64);
    EXPECT_EQ(QByteArray::fromHex(sum.toLatin1()).toHex(), sum.toLatin1());
    seen.insert(sum);
  }
  EXPECT_EQ(seen.size(), 11);
}

TEST(WhisperModelTest, AnOverrideChangesOneNameAndNoOther) {
  const QMap<QString, QString> overrides{{"base", "House model"}, {"ggml-tiny.bin", "not a raw value"}};
  for (const M model : allCases<M>())
    EXPECT_EQ(displayName(model, overrides), model == M::base ? "House model" : tableDisplayName(model));
  EXPECT_EQ(displayName(M::base, {}), "Base (Multilingual)");
}

}  // namespace
}  // namespace quillmere
