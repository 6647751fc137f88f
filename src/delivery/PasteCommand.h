#pragma once
#include <QString>
#include <optional>

#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "delivery/FocusProbe.h"
#include "ports/Accessibility.h"
#include "ports/KeySynthesizer.h"
#include "ports/Pasteboard.h"
#include "ports/Workspace.h"

namespace quillmere {

// Looks at what has the keyboard and sends the keystroke that pastes there: Control and the key of 'v' on the current
// layout, Shift+Insert in terminals and where no layout has one. Main thread; a cancel ends the look at once. A look is
// one visit of at most 250 ms; a target that doesn't answer counts as neither secure nor a text field.
class PasteCommand {
 public:
  struct Target {
    bool canPaste = false;
    bool isSecure = false;
    bool isBlind = false;  // nothing that takes text was found; the application gets the paste all the same
  };
  enum class Outcome {
    sent,
    noTarget,     // nothing that takes text has the keyboard
    secureField,  // a password field has it
    failed        // the keystroke couldn't be sent
  };

  PasteCommand(Pasteboard& pasteboard, KeySynthesizer& keys, Workspace& workspace, Accessibility& accessibility,
               const Logging& logging);

  // By the application in front, then by the focused element.
  Task<Target> target();
  // Looks once more and sends; the text is the one on the clipboard. Should the chord fail, Shift+Insert is tried.
  Task<Outcome> send(QString text);
  // Without a look at the target.
  Task<bool> sendBlindly(QString text);
  // Puts back what was marked before Shift+Insert needed the selection, if nobody has marked something since.
  void restoreSelection();

 private:
  Task<bool> sendShiftInsert(QString text);

  Pasteboard& pasteboard_;
  KeySynthesizer& keys_;
  Workspace& workspace_;
  Accessibility& accessibility_;
  Logger logger_;
  bool isTextInSelection_ = false;
  std::optional<QString> replacedSelection_;
};

}  // namespace quillmere
