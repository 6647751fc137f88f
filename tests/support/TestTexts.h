#pragma once
#include <QCoreApplication>
#include <memory>

#include "app/texts/Texts.h"

namespace quillmere {

// Installs a text table for the length of a test, and makes the application object that Qt's translation needs where
// the test program has none.
class TestTexts {
 public:
  explicit TestTexts(const QString& language = QStringLiteral("en")) {
    if (!QCoreApplication::instance()) {
      static int argumentCount = 1;
      static char name[] = "tests";
      static char* arguments[] = {name, nullptr};
      application_ = std::make_unique<QCoreApplication>(argumentCount, arguments);
    }
    texts_ = std::make_unique<Texts>(language);
  }

 private:
  std::unique_ptr<QCoreApplication> application_;
  std::unique_ptr<Texts> texts_;
};

}  // namespace quillmere
