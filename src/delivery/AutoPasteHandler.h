#pragma once
#include <functional>
#include <memory>

#include "base/async/Async.h"
#include "base/async/SerialGate.h"
#include "base/log/Logger.h"
#include "delivery/AccessibilityPermission.h"
#include "delivery/ClipboardKeeper.h"
#include "delivery/PasteCommand.h"
#include "delivery/PasteOutcome.h"
#include "delivery/PasteRequest.h"
#include "delivery/SmartPaste.h"

namespace quillmere {

// A question with two answers for the user; `open` belongs to the first button.
struct AccessibilityAlert {
  QString title;
  QString message;
  QString openButton;
  QString cancelButton;
  std::function<void()> open;
};

// What a paste works with. Everything outlives the handler.
struct AutoPasteServices {
  Pasteboard& pasteboard;
  KeySynthesizer& keys;
  Workspace& workspace;
  Accessibility& accessibility;
  AccessibilityPermission& permission;
  const SettingsManager* settings = nullptr;  // without it the clipboard isn't given back
  Executor& executor;
};

// Each may be missing.
struct AutoPasteHandlerHooks {
  std::function<void(bool isSuspended)> suspendKeyMonitor;  // synthetic keys must not look like the user's
  std::function<void(const AccessibilityAlert&)> showAlert;
  SmartPasteHooks paste;
};

// What a text is pasted with. Main thread.
class AutoPasteHandler {
 public:
  AutoPasteHandler(const AutoPasteServices& services, AutoPasteHandlerHooks hooks, const Logging& logging);

  // Pastes take turns in the order of the calls; none ends another, and nothing of a request is kept. Afterwards the
  // window that had the focus gets it back when the target was another one. An empty or blank text does nothing.
  // Whatever doesn't succeed leaves the text on the clipboard. A cancel of the caller ends only this paste, in its turn
  // with the text left on the clipboard, before it with nothing done; the outcome is `cancelled`. The end of the caller
  // does the same.
  Task<PasteOutcome> paste(PasteRequest request);

  // What the user's clipboard holds, read ahead so that paste() needn't wait for a slow owner (up to 2 s). It may be
  // null, when there is nothing to be saved now. Overlapping dictations each take their own; the text of one is never
  // taken for the user's contents. A loan that nothing is pasted with just goes.
  Task<std::shared_ptr<ClipboardLoan>> borrowClipboard() { return keeper_.borrow(); }

  // Watches, from the press on, which windows the user types into: with it a paste takes the focus from nobody who
  // types elsewhere (`typedElsewhere`). The handler outlives it.
  std::shared_ptr<TypingWatch> watchTyping();

  // Whether this very text waits on the clipboard, put there by a paste.
  bool isOnClipboard(const QString& text) const { return keeper_.holds(text); }

  // The user copies this text: it stays on the clipboard, and what a paste displaced is not given back any more. False
  // when the clipboard can't be had.
  bool copyForUser(const QString& text) { return keeper_.copyForUser(text); }

  // Ends when no restore of the clipboard is pending, or only one that waits for somebody to fetch the text.
  Task<void> waitForRestore() { return keeper_.waitForRestore(); }
  // Gives back at once what was displaced: for the end of the program.
  void restoreNow() { keeper_.restoreNow(); }

 private:
  class Suspension;
  Task<PasteOutcome> run(PasteRequest request);
  void explainMissingPermission();
  void log(PasteOutcome outcome);
  void suspend(bool isSuspended);

  Workspace& workspace_;
  AccessibilityPermission& permission_;
  AutoPasteHandlerHooks hooks_;
  Logger logger_;
  ClipboardKeeper keeper_;
  PasteCommand command_;
  SmartPaste smartPaste_;
  bool isPasting_ = false;
  SerialGate gate_;
  TaskScope scope_;
};

}  // namespace quillmere
