#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cstdlib>

#include "models/CTranslate2Converter.h"
#include "models/CTranslate2Model.h"
#include "models/WhisperVocabulary.h"

// The first byte chooses what the others are: the table of a model.bin, a vocabulary file of one of the three kinds, or
// the model.bin of a whole folder.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  using namespace quillmere;
  if (size == 0) return 0;
  QByteArray content(reinterpret_cast<const char*>(data + 1), static_cast<qsizetype>(size - 1));
  switch (data[0] % 5) {
    case 0: {
      QBuffer buffer(&content);
      buffer.open(QIODevice::ReadOnly);
      const auto model = CTranslate2Model::read(buffer);
      if (!model) break;
      for (const auto& [name, tensor] : model->tensors) {
        if (tensor.offset < 0 || tensor.bytes < 0 || tensor.offset + tensor.bytes > content.size()) std::abort();
      }
      break;
    }
    case 1:
      WhisperVocabulary::fromTokenizerJson(content, false);
      break;
    case 2:
      WhisperVocabulary::fromVocabularyJson(content, true);
      break;
    case 3:
      WhisperVocabulary::fromVocabularyText(content, true);
      break;
    case 4: {
      static const QTemporaryDir folder;
      QFile model(folder.filePath("model.bin"));
      QFile words(folder.filePath("vocabulary.txt"));
      if (!words.exists() && words.open(QIODevice::WriteOnly)) {
        for (int i = 0; i < WhisperVocabulary::wordCount; ++i) words.write(QByteArray::number(i) + '\n');
        words.close();
      }
      if (!model.open(QIODevice::WriteOnly) || model.write(content) != content.size()) break;
      model.close();
      const auto outcome = CTranslate2Converter::convert(folder.path(), [](const char*, qint64) { return true; }, {});
      if (!outcome && outcome.error().description.isEmpty()) std::abort();
      break;
    }
  }
  return 0;
}
