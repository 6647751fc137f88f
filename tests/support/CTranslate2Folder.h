#pragma once
#include <QByteArray>
#include <QString>

namespace quillmere {

// Writes a model in ggml format (16-bit weights, as ScriptedWhisperModel makes them) as a folder in CTranslate2's
// Whisper format: the way back of CTranslate2Converter, so that a converted folder has to give the same bytes again. No
// word may appear twice in the vocabulary.
class CTranslate2Folder {
 public:
  enum class Vocabulary { tokenizerJson, vocabularyJson, vocabularyText };
  struct Options {
    Vocabulary vocabulary = Vocabulary::tokenizerJson;
    bool hasWideWeights = false;  // 32-bit numbers everywhere
  };

  static QByteArray modelBytes(const QByteArray& ggmlModel, const Options& options);
  static QByteArray vocabularyBytes(const QByteArray& ggmlModel, Vocabulary kind);
  // Makes the folder where it is missing.
  static void write(const QString& folder, const QByteArray& ggmlModel, const Options& options);
};

}  // namespace quillmere
