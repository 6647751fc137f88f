#pragma once
#include <QString>
#include <optional>

#include "base/async/TaskScope.h"
#include "delivery/PasteRequest.h"

namespace quillmere {

class AppState;
class AutoPasteHandler;

// The last text, where it was not pasted and waits on the clipboard. When it waits because the user typed elsewhere
// while it was made, he can have it pasted where he is, or sent to the window that it was spoken for. What becomes of
// it stands in the application's state. Main thread; everything outlives it.
class WaitingText {
 public:
  WaitingText(AppState& appState, AutoPasteHandler& handler, const Workspace& workspace, Executor& executor);

  bool isOnClipboard() const;
  // The program that the text was spoken for; empty when its window is gone or there was none.
  QString targetName() const;
  // Both do nothing where it waits for another reason.
  void pasteHere();
  void sendToTarget();

 private:
  bool canBeSent() const;
  void send(std::optional<RunningApplication> target);
  Task<void> paste(PasteRequest request);

  AppState& appState_;
  AutoPasteHandler& handler_;
  const Workspace& workspace_;
  TaskScope scope_;
};

}  // namespace quillmere
