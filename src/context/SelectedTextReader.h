#pragma once
#include <QString>
#include <optional>

#include "base/Result.h"
#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "ports/Accessibility.h"
#include "ports/Pasteboard.h"
#include "ports/Workspace.h"

namespace quillmere {

// Finds the selected text: by accessibility, else by pressing the frontmost application's Copy menu item, with the
// clipboard given back as it was. No key is typed. Main thread. A cancel ends the read; once the item was pressed, the
// clipboard is still given back first.
class SelectedTextReader {
 public:
  SelectedTextReader(Workspace& workspace, Accessibility& accessibility, Pasteboard& pasteboard,
                     const Logging& logging);

  // Nothing, when nothing is selected; an error's description, when the application didn't answer.
  Task<Result<std::optional<QString>, QString>> read();

 private:
  Task<std::optional<QString>> copyByMenu(qint64 processId);
  Task<std::optional<QString>> copyAndRestore(qint64 processId, ClipboardItems saved);

  Workspace& workspace_;
  Accessibility& accessibility_;
  Pasteboard& pasteboard_;
  Logger logger_;
};

}  // namespace quillmere
