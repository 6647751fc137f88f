#pragma once
#include "app/compose/texts/Texts.h"

namespace quillmere {

// Installs a text table for the length of a test.
class TestTexts {
 public:
  explicit TestTexts(const QString& language = "en") : texts_(language) {}

 private:
  Texts texts_;
};

}  // namespace quillmere
