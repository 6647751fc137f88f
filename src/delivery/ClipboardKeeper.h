#pragma once
#include <QString>
#include <memory>
#include <optional>
#include <vector>

#include "base/async/Async.h"
#include "base/log/Logger.h"
#include "delivery/ClipboardLoan.h"
#include "delivery/LentSelection.h"
#include "ports/Pasteboard.h"
#include "storage/SettingsManager.h"

namespace quillmere {

// Puts texts in the place of what the user's clipboard holds, and gives that back after the configured delay. Texts
// that follow each other within the delay displace it once. Given back is only what is still ours to give: not when
// another program has copied something meanwhile (unless it took over the very text while pasting it), and, after a
// text that waits to be pasted, not before somebody has fetched it (then the delay runs once more). Main thread.
// Without settings nothing is restored. Destroying it drops a pending restore.
class ClipboardKeeper {
 public:
  enum class RestoreRule {
    whenDue,        // as soon as the delay is over
    afterFetch,     // a keystroke was sent: not before the text was fetched
    afterUserFetch  // no keystroke was sent, the user may paste himself: what is fetched at once is no user
  };

  ClipboardKeeper(Pasteboard& pasteboard, const SettingsManager* settings, Executor& executor, const Logging& logging);

  // What the user's clipboard holds. Up to 2 s when its owner hangs; changes nothing.
  Task<std::shared_ptr<ClipboardLoan>> borrow();
  // Puts the text on the clipboard, hidden from clipboard managers, and drops a pending restore: the caller schedules
  // the next one. What was there before comes from the loan, if it still holds (it may be null), else it is read. False
  // when the clipboard can't be had: then everything is as it was. So it is after a cancel.
  Task<bool> lend(QString text, std::shared_ptr<ClipboardLoan> loan);
  // Whether the text of the last lend() is still there, and whether it is this one.
  bool isTextThere() const;
  bool holds(const QString& text) const { return isTextThere() && text_->trimmed() == text.trimmed(); }
  // Lent beside the clipboard and given back together with it.
  LentSelection& selection() { return selection_; }
  // The user copies it himself: it stays, and nothing is given back.
  bool copyForUser(const QString& text);

  // Up to 0.5 s when another program has taken the clipboard.
  Task<void> scheduleRestore(RestoreRule rule);
  // Until nothing is scheduled any more, or only a restore that waits for somebody to fetch the text.
  Task<void> waitForRestore();
  // Whatever was displaced, now: for the end of the program.
  void restoreNow();

 private:
  Task<ClipboardItems> read();
  Task<void> noticeTakeover();
  bool hasSomethingToGiveBack() const;
  Task<void> restoreLater(RestoreRule rule, Duration delay);
  // True when it may be restored, false when another program took the clipboard.
  Task<bool> waitUntilDue(RestoreRule rule, Duration delay);
  void restore();
  bool cancelRestore();
  bool isRestoreWanted() const;
  Duration restoreDelay() const;
  void settled();

  Pasteboard& pasteboard_;
  const SettingsManager* const settings_;
  Logger logger_;

  LentSelection selection_;
  std::optional<QString> text_;              // of ours, and what was written last
  std::optional<quint64> takenOverAt_;       // the state of the clipboard in which another program has that text
  std::optional<ClipboardItems> displaced_;  // by our texts, still to be given back
  bool isRestoreHeld_ = false;               // due, but nobody has fetched the text
  std::vector<Completion<void>> waitingForRestore_;
  TaskHandle<void> restoration_;
  TaskScope scope_;
};

}  // namespace quillmere
