#pragma once
#include <QString>
#include <functional>
#include <optional>

#include "base/async/Async.h"
#include "base/log/Logger.h"
#include "ports/Pasteboard.h"
#include "storage/SettingsManager.h"

namespace quillmere {

// Saves the user's clipboard before a dictation, lends it to the text, and gives it back after the configured delay.
// Given back is only what is still ours to give: not when another program has copied something meanwhile, and, after a
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

  // Saves every item. When the text of an earlier dictation is still there, what was saved before that one is kept.
  // Cancels a pending restore. A cancel leaves nothing saved.
  Task<void> beginSession();
  // When nothing was written in the session, a restore that its begin cancelled is scheduled again.
  void endSession();
  bool isInSession() const { return isInRecordingSession_; }
  const std::optional<ClipboardItems>& originalClipboardData() const { return originalClipboardData_; }

  // Puts the text on the clipboard, hidden from clipboard managers.
  bool writeText(const QString& text);
  // Called after every restore.
  void setOnRestored(std::function<void()> onRestored) { onRestored_ = std::move(onRestored); }

  void scheduleRestore(RestoreRule rule);
  void cancelRestore();
  // Schedules again what was cancelled, if no text was written since.
  void resumeRestore();
  // Until nothing is scheduled any more, or only a restore that waits for somebody to fetch the text.
  Task<void> waitForRestore();
  // What is scheduled, now: for the end of the program.
  void restoreNow();

  // The text for a paste by hand; the plain text that was there comes back after the delay.
  Task<void> copyTextManually(QString text);

 private:
  struct ManualCopy {
    QString previous;
  };
  Task<void> restoreLater(RestoreRule rule, Duration delay);
  Task<void> restoreManualCopyLater(Duration delay);
  // True when it may be restored, false when another program took the clipboard.
  Task<bool> waitUntilDue(RestoreRule rule, Duration delay);
  void restore();
  void restoreManualCopy();
  bool cancelManualRestoration();
  bool isRestoreWanted() const;
  Duration restoreDelay() const;
  void settled();

  Pasteboard& pasteboard_;
  const SettingsManager* const settings_;
  Logger logger_;

  bool isInRecordingSession_ = false;
  std::optional<ClipboardItems> originalClipboardData_;
  std::optional<ManualCopy> manualCopy_;
  bool isTextOnClipboard_ = false;  // what was written last is a text of ours, not the user's own
  std::function<void()> onRestored_;
  bool isRestoreHeld_ = false;  // due, but nobody has fetched the text
  std::vector<Completion<void>> waitingForRestore_;
  TaskHandle<void> activeRestorationWorkItem_;
  RestoreRule activeRule_ = RestoreRule::whenDue;
  std::optional<RestoreRule> cancelledRule_;  // of a restore that was cancelled and has no successor
  TaskHandle<void> manualRestoration_;
  TaskScope scope_;
};

}  // namespace quillmere
