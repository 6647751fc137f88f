#pragma once
#include <QByteArray>
#include <QString>
#include <map>
#include <optional>
#include <vector>

#include "base/Result.h"

class QIODevice;

namespace quillmere {

// The contents of a model.bin in CTranslate2's Whisper format: where each tensor lies in the file.
struct CTranslate2Model {
  enum class Type : quint8 { float32 = 0, int8 = 1, int16 = 2, int32 = 3, float16 = 4 };
  struct Tensor {
    std::vector<qint64> shape;  // outermost first; empty for a single number
    Type type = Type::float16;
    qint64 offset = 0;
    qint64 bytes = 0;
  };
  enum class Fault { unreadable, foreign, unknownVersion, truncated, damaged, quantised };

  std::map<QByteArray, Tensor> tensors;  // second names included

  const Tensor* find(const QByteArray& name) const;

  // Reads the table of `device` (open, random-access, at position 0), not the weights. Every tensor of the result lies
  // within the file and has as many bytes as its shape and type ask for.
  static Result<CTranslate2Model, Fault> read(QIODevice& device);
};

}  // namespace quillmere
