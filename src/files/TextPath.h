#pragma once
#include <QString>
#include <QTemporaryDir>
#include <filesystem>
#include <memory>

#include "base/Result.h"
#include "domain/Errors.h"

namespace quillmere {

// The path of a file as text. A name that is no UTF-8 has none: a link with a plain name stands for it as long as a
// copy of this object lives. Main thread.
class TextPath {
 public:
  static Result<TextPath, PlatformError> of(const std::filesystem::path& file);
  const QString& text() const { return text_; }

 private:
  QString text_;
  std::shared_ptr<QTemporaryDir> folder_;
};

}  // namespace quillmere
