#pragma once
#include <QString>

namespace quillmere {

// Whether the header of a ggml model file announces the vocabulary of the English-only models. False for a file that
// can't be read or isn't one. Reads eight bytes.
bool isEnglishOnlyModelFile(const QString& path);

}  // namespace quillmere
