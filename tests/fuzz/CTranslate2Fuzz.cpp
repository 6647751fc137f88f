#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>
#include <cstdlib>

#include "fuzz/SeedEdits.h"
#include "models/CTranslate2Converter.h"
#include "models/CTranslate2Model.h"
#include "models/WhisperVocabulary.h"
#include "support/CTranslate2Folder.h"
#include "support/ScriptedWhisperModel.h"

namespace {

using namespace quillmere;

void readTable(QByteArray content) {
  QBuffer buffer(&content);
  buffer.open(QIODevice::ReadOnly);
  const auto model = CTranslate2Model::read(buffer);
  if (!model) return;
  for (const auto& [name, tensor] : model->tensors)
    if (tensor.offset < 0 || tensor.bytes < 0 || tensor.offset + tensor.bytes > content.size()) std::abort();
}

// As the model.bin of a folder whose vocabulary is right.
void convert(const QByteArray& ggmlModel, const QByteArray& content) {
  static const QTemporaryDir folder;
  static const bool isMade =
      CTranslate2Folder::write(folder.path(), ggmlModel, {.vocabulary = CTranslate2Folder::Vocabulary::vocabularyText});
  QFile model(folder.filePath("model.bin"));
  if (!isMade || !model.open(QIODevice::WriteOnly) || model.write(content) != content.size()) std::abort();
  model.close();
  const auto outcome = CTranslate2Converter::convert(folder.path(), [](const char*, qint64) { return true; }, {});
  if (!outcome && outcome.error().description.isEmpty()) std::abort();
}

}  // namespace

// The first byte chooses what the others are: a model.bin, a vocabulary file of one of the three kinds, or changes to
// the model.bin of a real folder.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const QByteArray ggmlModel = ScriptedWhisperModel::bytes({});
  static const SeedEdits real(CTranslate2Folder::modelBytes(ggmlModel, {}));
  if (size == 0) return 0;
  const QByteArray content(reinterpret_cast<const char*>(data + 1), static_cast<qsizetype>(size - 1));
  switch (data[0] % 5) {
    case 0:
      readTable(content);
      convert(ggmlModel, content);
      break;
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
      const QByteArray changed = real.apply(data + 1, size - 1);
      readTable(changed);
      convert(ggmlModel, changed);
      break;
    }
  }
  return 0;
}
