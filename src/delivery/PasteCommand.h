#pragma once
#include <QString>
#include <optional>

#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "delivery/FocusProbe.h"
#include "delivery/LentSelection.h"
#include "delivery/PasteOutcome.h"
#include "ports/Accessibility.h"
#include "ports/KeySynthesizer.h"
#include "ports/Pasteboard.h"
#include "ports/Workspace.h"

namespace quillmere {

// Looks at what has the keyboard and sends the keystroke that pastes there: Control and the key of 'v' on the current
// layout; Shift+Insert in terminals, where nothing can be read, and where no layout has the letter. Shift+Insert pastes
// the clipboard here and the selection there, so the text goes into both. Main thread; a cancel ends the look at once.
// A look is one visit of at most 250 ms; a target that doesn't answer counts as unreadable.
class PasteCommand {
 public:
  enum class Target {
    text,        // takes text, or is known to
    listed,      // nothing was found, but the application gets the paste all the same
    unreadable,  // nobody can tell; whether it takes the text shows when it is fetched
    noText,
    secure
  };
  enum class Outcome {
    sent,
    noTarget,     // what has the keyboard takes no text
    secureField,  // a password field has it
    failed        // the keystroke couldn't be sent
  };
  static constexpr bool canPaste(Target target) { return target != Target::noText && target != Target::secure; }

  PasteCommand(Pasteboard& pasteboard, LentSelection& selection, KeySynthesizer& keys, Workspace& workspace,
               Accessibility& accessibility, const Logging& logging);

  // By the application in front, then by the focused element.
  Task<Target> target();
  // The keys for the user who pastes himself, by the same look.
  Task<PasteKeys> keysThatPaste();
  // Looks once more and sends; the text is the one on the clipboard. Should the chord fail, Shift+Insert is tried. The
  // caller gives the selection back.
  Task<Outcome> send(QString text);
  // Without a look at the target.
  Task<bool> sendBlindly(QString text);

 private:
  Task<bool> sendChord(QString text, Target target);
  Task<bool> sendShiftInsert(QString text);

  Pasteboard& pasteboard_;
  LentSelection& selection_;
  KeySynthesizer& keys_;
  Workspace& workspace_;
  Accessibility& accessibility_;
  Logger logger_;
};

}  // namespace quillmere
