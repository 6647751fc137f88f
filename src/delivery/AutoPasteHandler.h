#pragma once
#include <functional>
#include <optional>
#include <vector>

#include "base/Published.h"
#include "base/async/Async.h"
#include "base/log/Logger.h"
#include "delivery/AccessibilityHelper.h"
#include "delivery/PasteOutcome.h"

namespace quillmere {

// A question with two answers for the user; `open` belongs to the first button.
struct AccessibilityAlert {
  QString title;
  QString message;
  QString openButton;
  QString cancelButton;
  std::function<void()> open;
};

struct AutoPasteHandlerHooks {
  std::function<void(bool isSuspended)> suspendKeyMonitor;  // synthetic keys must not look like the user's
  std::function<void(const AccessibilityAlert&)> showAlert;
};

// What the recording flow pastes with. Main thread.
class AutoPasteHandler {
 public:
  AutoPasteHandler(AccessibilityHelper& helper, Executor& executor, AutoPasteHandlerHooks hooks,
                   const Logging& logging);

  // True only if the target took the text; false leaves the text on the clipboard. A paste under way is cancelled
  // first. A cancel of the caller cancels the paste and gives false.
  Task<bool> paste(QString text, std::vector<ProcessedTag> processedTags);

  // The application that was in front when the recording began.
  void setPreviousFrontmostPID(std::optional<qint64> processId) { previousFrontmostPID_ = processId; }
  std::optional<qint64> previousFrontmostPID() const { return previousFrontmostPID_; }

  Published<PasteOutcome>& lastOutcome() { return lastOutcome_; }

 private:
  class Suspension;
  Task<SmartPasteResult> run(QString text, std::vector<ProcessedTag> processedTags,
                             std::shared_ptr<Suspension> suspension);
  Task<bool> finish(SmartPasteResult result, QString text);
  void suspend(int change);

  AccessibilityHelper& helper_;
  AutoPasteHandlerHooks hooks_;
  Logger logger_;
  std::optional<qint64> previousFrontmostPID_;
  Published<PasteOutcome> lastOutcome_{PasteOutcome::none};
  int suspensions_ = 0;
  TaskScope scope_;
};

}  // namespace quillmere
