#pragma once
#include <QByteArray>
#include <QList>
#include <optional>

namespace quillmere {

// The words of a Whisper vocabulary as raw bytes, in the order of their numbers: the 50,257 that come before the
// special tokens, as model files in ggml format hold them. Each reader takes the content of one kind of file and gives
// nothing when it is not one or a word is missing.
class WhisperVocabulary {
 public:
  static constexpr int wordCount = 50257;

  static std::optional<QList<QByteArray>> fromTokenizerJson(const QByteArray& content, bool isEnglishOnly);
  static std::optional<QList<QByteArray>> fromVocabularyJson(const QByteArray& content, bool isEnglishOnly);
  static std::optional<QList<QByteArray>> fromVocabularyText(const QByteArray& content, bool isEnglishOnly);
};

}  // namespace quillmere
