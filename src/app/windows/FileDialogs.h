#pragma once
#include <QWindow>
#include <functional>

#include "ports/FilePicker.h"

class QFileDialog;

namespace quillmere {

// The desktop's own dialogs through Qt, over the window that asks. Main thread, needs a QApplication.
class FileDialogs final : public FilePicker {
 public:
  // `parent` gives the window that a dialog belongs to; null where there is none.
  explicit FileDialogs(std::function<QWindow*()> parent) : parent_(std::move(parent)) {}

  Task<std::vector<std::filesystem::path>> pickFiles(QString title, QString kindName, QStringList extensions) override;
  Task<std::optional<QString>> pickFolder(QString title, QString start) override;

 private:
  Task<bool> run(QFileDialog& dialog);

  std::function<QWindow*()> parent_;
};

}  // namespace quillmere
