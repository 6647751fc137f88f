#pragma once
#include <QString>
#include <QStringList>
#include <filesystem>
#include <optional>
#include <vector>

#include "base/async/Task.h"

namespace quillmere {

// The desktop's dialogs for choosing what is on the disk. Main thread; cancelling the task closes the dialog.
class FilePicker {
 public:
  virtual ~FilePicker() = default;
  // Existing files; those with the `extensions` are offered first, under `kindName`. None when the user dismissed the
  // dialog.
  virtual Task<std::vector<std::filesystem::path>> pickFiles(QString title, QString kindName,
                                                             QStringList extensions) = 0;
  // An existing folder or one that the user makes there; nothing when the dialog was dismissed. `start` may be missing.
  virtual Task<std::optional<QString>> pickFolder(QString title, QString start) = 0;
};

}  // namespace quillmere
