#include "models/CustomModelHeader.h"

#include <QFile>
#include <QtEndian>

namespace quillmere {

bool isEnglishOnlyModelFile(const QString& path) {
  constexpr quint32 magic = 0x67676d6c;
  constexpr quint32 englishVocabularySize = 51864;
  QFile file(path);
  char header[8];
  if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || file.read(header, sizeof header) != sizeof header)
    return false;
  return qFromLittleEndian<quint32>(header) == magic && qFromLittleEndian<quint32>(header + 4) == englishVocabularySize;
}

}  // namespace quillmere
