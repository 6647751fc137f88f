#include <QBuffer>
#include <cstdlib>

#include "domain/GgmlModelFile.h"
#include "fuzz/SeedEdits.h"
#include "support/ScriptedWhisperModel.h"

// The first byte chooses what the others are: a model file, or changes to a whole one or to one that ends after its
// vocabulary.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  using namespace quillmere;
  static const SeedEdits whole(ScriptedWhisperModel::bytes({}));
  static const SeedEdits words(ScriptedWhisperModel::bytes({.vocabularyOnly = true}));
  if (size == 0) return 0;
  QByteArray content = data[0] % 3 == 0   ? QByteArray(reinterpret_cast<const char*>(data) + 1, qsizetype(size) - 1)
                       : data[0] % 3 == 1 ? whole.apply(data + 1, size - 1)
                                          : words.apply(data + 1, size - 1);
  for (const auto checks : {GgmlModelChecks::whole, GgmlModelChecks::allowVocabularyOnly}) {
    QBuffer buffer(&content);
    buffer.open(QIODevice::ReadOnly);
    const auto file = inspectGgmlModelFile(buffer, checks);
    if (file && (file->audioHeads == 0 || file->width % file->audioHeads != 0 || file->words > file->vocabularySize))
      std::abort();
  }
  return 0;
}
