#include "models/CustomModelHeader.h"

#include <QFile>
#include <QtEndian>

namespace quillmere {

ModelFileLanguages languagesOfModelFile(const QString& path) {
  constexpr quint32 magic = 0x67676d6c;
  constexpr quint32 englishVocabularySize = 51864;
  constexpr quint32 cantoneseVocabularySize = 51866;  // the other multilingual models have one word less
  QFile file(path);
  char header[8];
  if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || file.read(header, sizeof header) != sizeof header ||
      qFromLittleEndian<quint32>(header) != magic)
    return {};
  const auto words = qFromLittleEndian<quint32>(header + 4);
  return {words == englishVocabularySize, words >= cantoneseVocabularySize};
}

}  // namespace quillmere
