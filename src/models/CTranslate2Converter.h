#pragma once
#include <QString>
#include <functional>

#include "base/Result.h"
#include "domain/Errors.h"

namespace quillmere {

// Converts a folder in CTranslate2's Whisper format (model.bin with 16- or 32-bit weights and tokenizer.json,
// vocabulary.json or vocabulary.txt) to a model in ggml format with 16-bit weights. A folder made from a published
// model gives the published file, byte for byte. Blocks; any thread; needs about 4 MB whatever the size of the model.
class CTranslate2Converter {
 public:
  // Takes the next bytes of the result. False ends the conversion; the receiver knows why.
  using Sink = std::function<bool(const char* data, qint64 bytes)>;
  enum class Outcome { complete, endedBySink };

  // `progress` gets the fraction done. Errors are of domain "models", with a sentence for the user.
  static Result<Outcome, PlatformError> convert(const QString& folder, const Sink& sink,
                                                const std::function<void(double)>& progress);
};

}  // namespace quillmere
