#pragma once
#include <QString>

namespace quillmere {

// What the size of its vocabulary says about the languages of a model.
struct ModelFileLanguages {
  bool isEnglishOnly = false;
  bool knowsCantonese = false;
};

// As the header of a ggml model file announces it; neither for a file that can't be read or isn't one. Reads eight
// bytes.
ModelFileLanguages languagesOfModelFile(const QString& path);

}  // namespace quillmere
