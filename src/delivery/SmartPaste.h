#pragma once
#include <functional>
#include <optional>
#include <vector>

#include "base/async/Async.h"
#include "base/log/Logger.h"
#include "delivery/ClipboardKeeper.h"
#include "delivery/PasteCommand.h"
#include "delivery/PasteOutcome.h"
#include "delivery/PasteRequest.h"
#include "delivery/SegmentedPaste.h"
#include "ports/Workspace.h"

namespace quillmere {

// What comes from rooms that delivery doesn't know; each may be missing.
struct SmartPasteHooks {
  std::function<bool(const QString& bundleId)> isElectronEditor;
  // Cuts a text at its file references; without it the text is one segment.
  std::function<std::vector<PasteSegment>(const QString& text, const std::vector<ProcessedTag>& tags)> segmentText;
};

// One paste at a time: brings the target to the front, finds what has the keyboard there, pastes, schedules the return
// of the clipboard, and gives the focus back to the window that had it before. Main thread; keeps nothing of a request.
// A cancel leaves the text on the clipboard with its restore scheduled and throws Cancelled then.
class SmartPaste {
 public:
  SmartPaste(ClipboardKeeper& keeper, PasteCommand& command, Pasteboard& pasteboard, KeySynthesizer& keys,
             Workspace& workspace, SmartPasteHooks hooks, const Logging& logging);

  Task<PasteOutcome> paste(PasteRequest request);

 private:
  struct Attempt;
  Task<PasteOutcome> run(Attempt& attempt);
  Task<PasteOutcome> pasteWhole(Attempt& attempt);
  Task<PasteOutcome> pasteSegments(Attempt& attempt, std::vector<PasteSegment> segments);
  // False when another application stays in front.
  Task<bool> reactivate(const std::optional<RunningApplication>& target);
  Task<void> finish(Attempt& attempt, PasteOutcome outcome);
  Task<void> giveFocusBack(const Attempt& attempt);
  Task<void> nameKeys(const PasteRequest& request);
  Task<bool> comesToFront(const RunningApplication& application);
  bool isTypingElsewhere(const Attempt& attempt) const;
  bool isInFront(const RunningApplication& application) const;

  ClipboardKeeper& keeper_;
  PasteCommand& command_;
  Pasteboard& pasteboard_;
  Workspace& workspace_;
  SmartPasteHooks hooks_;
  Logger logger_;
  SegmentedPaste segmented_;
};

}  // namespace quillmere
