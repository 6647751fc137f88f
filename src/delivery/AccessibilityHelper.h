#pragma once
#include <functional>
#include <optional>
#include <vector>

#include "base/Published.h"
#include "base/async/Async.h"
#include "base/log/Logger.h"
#include "delivery/ClipboardKeeper.h"
#include "delivery/PasteCommand.h"
#include "delivery/PasteSegment.h"
#include "delivery/SmartPasteResult.h"
#include "domain/ProcessedTag.h"

namespace quillmere {

struct AccessibilityHelperServices {
  Pasteboard& pasteboard;
  KeySynthesizer& keys;
  Workspace& workspace;
  Accessibility& accessibility;
  const SettingsManager* settings = nullptr;  // without it nothing is restored
  Executor& executor;
};

// What comes from rooms that delivery doesn't know; each may be missing.
struct AccessibilityHelperHooks {
  std::function<bool(const QString& bundleId)> isElectronEditor;
  // Cuts a text at its file references; without it the text is one segment.
  std::function<std::vector<PasteSegment>(const QString& text, const std::vector<ProcessedTag>& tags)> segmentText;
  std::function<void(const QString& url)> openUrl;
};

// Holds the saved clipboard, finds what has the keyboard, brings the target to the front, pastes and restores. Main
// thread. Tasks must not outlive it. A cancelled paste throws Cancelled with the restore scheduled; whatever doesn't
// succeed leaves the text on the clipboard.
class AccessibilityHelper {
 public:
  AccessibilityHelper(const AccessibilityHelperServices& services, AccessibilityHelperHooks hooks,
                      const Logging& logging);

  // Saves the clipboard; up to 2 s when its owner hangs.
  Task<void> beginRecordingSession();
  void endRecordingSession();

  // Cancels the task that was last given to setCurrentPasteTask.
  void cancelPaste();
  void setCurrentPasteTask(TaskHandle<SmartPasteResult> task) { currentPasteTask_ = std::move(task); }
  TaskHandle<SmartPasteResult>& currentPasteTask() { return currentPasteTask_; }

  Task<SmartPasteResult> smartPaste(QString text, std::vector<ProcessedTag> processedTags,
                                    std::optional<qint64> targetPID);
  // For a paste by hand; what was there as plain text comes back after the delay of the restore.
  Task<void> copyTextManually(QString text);

  // Ends when no restore is pending, or only one that waits for somebody to fetch the text.
  Task<void> waitForRestore();
  // Restores at once what is scheduled: for the end of the program.
  void restoreNow();

  bool isTrusted() const;
  void openAccessibilitySettings();
  // Looks every 0.3 s until other programs can be read; a second call does nothing while it runs.
  void startPermissionPolling();
  // Becomes true when the polling found the permission.
  Published<bool>& accessibilityPermissionGranted() { return accessibilityPermissionGranted_; }

 private:
  enum class Delivery { fetched, notFetched, secureField, failed };

  // False when another application stays in front.
  Task<bool> reactivate(std::optional<RunningApplication> target);
  Task<SmartPasteResult> pasteWhole(QString text, QString targetBundleId);
  Task<SmartPasteResult> performSegmentedPaste(QString text, std::vector<ProcessedTag> processedTags);
  Task<SmartPasteResult> pasteSegments(std::vector<PasteSegment> segments);
  Task<bool> pasteFileReference(QString text, qsizetype number, qsizetype total);
  Task<Delivery> pasteOne(QString text);
  Task<void> pollPermission();
  void logPermissionGuidance();

  Workspace& workspace_;
  Accessibility& accessibility_;
  KeySynthesizer& keys_;
  Pasteboard& pasteboard_;
  AccessibilityHelperHooks hooks_;
  Logger logger_;
  ClipboardKeeper keeper_;
  PasteCommand command_;
  bool hasLoggedPermissionGuidance_ = false;
  TaskHandle<SmartPasteResult> currentPasteTask_;
  TaskHandle<void> permissionPolling_;
  Published<bool> accessibilityPermissionGranted_;
  TaskScope scope_;
};

}  // namespace quillmere
