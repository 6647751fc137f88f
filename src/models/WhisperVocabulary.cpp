#include "models/WhisperVocabulary.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <array>

namespace quillmere {
namespace {

// Vocabulary files write each byte as one printable character: itself where it is printable, else one from U+0100 on.
QHash<char16_t, char> byteOfCharacter() {
  QHash<char16_t, char> table;
  char16_t next = 0x100;
  for (int byte = 0; byte < 256; ++byte) {
    const bool isPrintable = (byte >= 33 && byte <= 126) || (byte >= 161 && byte <= 172) || byte >= 174;
    table.insert(isPrintable ? static_cast<char16_t>(byte) : next++, static_cast<char>(byte));
  }
  return table;
}

class Collector {
 public:
  explicit Collector(bool isEnglishOnly) : words_(WhisperVocabulary::wordCount), seen_(WhisperVocabulary::wordCount) {
    // The last one is the end mark of the English vocabulary and empty in the other; not every file lists it.
    if (isEnglishOnly) words_.last() = "<|endoftext|>";
    seen_.last() = true;
  }
  void add(qsizetype number, const QString& text) {
    if (number < 0 || number >= WhisperVocabulary::wordCount) return;
    QByteArray word;
    for (const QChar character : text) {
      const auto byte = table_.constFind(character.unicode());
      if (byte == table_.constEnd()) {
        isWrong_ = true;
        return;
      }
      word.append(*byte);
    }
    if (number < WhisperVocabulary::wordCount - 1) {
      isWrong_ = isWrong_ || word.isEmpty() || word.size() > 1000 || seen_[number];
      words_[number] = word;
      seen_[number] = true;
    }
  }
  std::optional<QList<QByteArray>> take() {
    if (isWrong_ || seen_.contains(false)) return std::nullopt;
    return std::move(words_);
  }

 private:
  QList<QByteArray> words_;
  QList<bool> seen_;
  QHash<char16_t, char> table_ = byteOfCharacter();
  bool isWrong_ = false;
};

std::optional<QList<QByteArray>> fromNumberedWords(const QJsonObject& words, bool isEnglishOnly) {
  Collector collector(isEnglishOnly);
  for (auto word = words.begin(); word != words.end(); ++word) {
    collector.add(static_cast<qsizetype>(word.value().toInteger(-1)), word.key());
  }
  return collector.take();
}

}  // namespace

std::optional<QList<QByteArray>> WhisperVocabulary::fromTokenizerJson(const QByteArray& content, bool isEnglishOnly) {
  const QJsonObject root = QJsonDocument::fromJson(content).object();
  return fromNumberedWords(root[QLatin1String("model")][QLatin1String("vocab")].toObject(), isEnglishOnly);
}

std::optional<QList<QByteArray>> WhisperVocabulary::fromVocabularyJson(const QByteArray& content, bool isEnglishOnly) {
  const QJsonDocument document = QJsonDocument::fromJson(content);
  if (document.isObject()) return fromNumberedWords(document.object(), isEnglishOnly);
  Collector collector(isEnglishOnly);
  const QJsonArray words = document.array();
  for (qsizetype i = 0; i < words.size(); ++i) collector.add(i, words[i].toString());
  return collector.take();
}

std::optional<QList<QByteArray>> WhisperVocabulary::fromVocabularyText(const QByteArray& content, bool isEnglishOnly) {
  Collector collector(isEnglishOnly);
  qsizetype number = 0;
  for (const QByteArray& line : content.split('\n')) collector.add(number++, QString::fromUtf8(line));
  return collector.take();
}

}  // namespace quillmere
