#pragma once
#include <QString>
#include <QStringList>
#include <filesystem>
#include <optional>

#include "base/async/Task.h"

namespace quillmere {

// The desktop's dialog for choosing one existing file. Main thread; cancelling the task closes the dialog.
class FilePicker {
 public:
  virtual ~FilePicker() = default;
  // `mimeTypes` may hold "audio/*"; `extensions` are offered beside them. Nothing when the user dismissed the dialog.
  virtual Task<std::optional<std::filesystem::path>> pickFile(QString title, QStringList mimeTypes,
                                                              QStringList extensions) = 0;
};

}  // namespace quillmere
