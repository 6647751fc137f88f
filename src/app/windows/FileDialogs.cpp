#include "app/windows/FileDialogs.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QStandardPaths>

#include "base/async/Completion.h"
#include "base/text/LocalizedText.h"

namespace quillmere {

Task<bool> FileDialogs::run(QFileDialog& dialog) {
  Completion<int> finished;
  QObject::connect(&dialog, &QDialog::finished, &dialog, [finished](int code) mutable { finished.resolve(code); });
  dialog.winId();  // makes the window, so that it can be given its parent
  if (QWindow* const window = dialog.windowHandle()) window->setTransientParent(parent_ ? parent_() : nullptr);
  dialog.open();
  auto answer = finished.wait();
  const int code = co_await std::move(answer);
  co_return code == QDialog::Accepted;
}

Task<std::vector<std::filesystem::path>> FileDialogs::pickFiles(QString title, QString kindName,
                                                                QStringList extensions) {
  QStringList patterns;
  for (const QString& extension : extensions) patterns << QStringLiteral("*.") + extension;
  QFileDialog dialog(nullptr, title, QStandardPaths::writableLocation(QStandardPaths::MusicLocation));
  dialog.setFileMode(QFileDialog::ExistingFiles);
  const QString offered = QStringLiteral("%1 (%2)").arg(kindName, patterns.join(u' '));
  const QString every = QStringLiteral("%1 (*)").arg(localizedText("files.kind.all"));
  dialog.setNameFilters(QStringList() << offered << every);
  auto question = run(dialog);
  const bool isAccepted = co_await std::move(question);
  std::vector<std::filesystem::path> files;
  if (isAccepted)
    for (const QString& file : dialog.selectedFiles()) files.emplace_back(QFile::encodeName(file).toStdString());
  co_return files;
}

Task<std::optional<QString>> FileDialogs::pickFolder(QString title, QString start) {
  const QString folder =
      QFileInfo(start).isDir() ? start : QStandardPaths::writableLocation(QStandardPaths::HomeLocation);
  QFileDialog dialog(nullptr, title, folder);
  dialog.setFileMode(QFileDialog::Directory);
  dialog.setOption(QFileDialog::ShowDirsOnly);
  auto question = run(dialog);
  const bool isAccepted = co_await std::move(question);
  const QString chosen = dialog.selectedFiles().value(0);
  if (!isAccepted || chosen.isEmpty()) co_return std::nullopt;
  co_return chosen;
}

}  // namespace quillmere
