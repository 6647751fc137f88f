#pragma once
#include <QString>

#include "base/Result.h"

class QIODevice;

namespace quillmere {

// What the header of a Whisper model in ggml format says, and how much of it the file holds.
struct GgmlModelFile {
  int vocabularySize = 0;
  int audioContext = 0;
  int width = 0;
  int audioHeads = 0;
  int audioLayers = 0;
  int textContext = 0;
  int textHeads = 0;
  int textLayers = 0;
  int melBands = 0;
  int fileType = 0;  // 0: 32-bit floats, 1: 16-bit floats, above: a quantisation
  int words = 0;
  int tensors = 0;
  bool isMultilingual() const { return vocabularySize >= 51865; }
};

struct GgmlModelFault {
  enum class Kind { unreadable, foreign, truncated, damaged, empty };
  Kind kind = Kind::damaged;
  QString detail;  // technical, in English, for logs
  bool operator==(const GgmlModelFault&) const = default;
};

enum class GgmlModelChecks { whole, allowVocabularyOnly };

// Walks a model file from its magic number to its last byte: the dimensions are ones that Whisper models have, the mel
// bank and the words fit, and the tensors are exactly those that the dimensions ask for, each in its type and shape.
// What passes can be handed to the engine's library, which crashes on damaged files and takes truncated ones for empty
// models; only the values of weights and words are not looked at. `device` is open, random-access and at position 0.
// Reads about 1 MB of a file of any size.
Result<GgmlModelFile, GgmlModelFault> inspectGgmlModelFile(QIODevice& device,
                                                           GgmlModelChecks checks = GgmlModelChecks::whole);

// The sentence for the user, in the language of the loaded text table.
QString localizedDescription(const GgmlModelFault& fault, const QString& fileName);

}  // namespace quillmere
