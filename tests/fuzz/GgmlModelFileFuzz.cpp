#include <QBuffer>

#include "domain/GgmlModelFile.h"

// Any bytes as a model file. Seeds: models of ScriptedWhisperModel cut behind the vocabulary, whole ones.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  using namespace quillmere;
  QByteArray content = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
  for (const auto checks : {GgmlModelChecks::whole, GgmlModelChecks::allowVocabularyOnly}) {
    QBuffer buffer(&content);
    buffer.open(QIODevice::ReadOnly);
    const auto file = inspectGgmlModelFile(buffer, checks);
    if (file && (file->audioHeads == 0 || file->width % file->audioHeads != 0 || file->words > file->vocabularySize))
      std::abort();
  }
  return 0;
}
