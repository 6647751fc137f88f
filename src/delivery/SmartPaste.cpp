#include "delivery/SmartPaste.h"

#include <algorithm>

#include "base/text/LocalizedText.h"
#include "delivery/PasteTargets.h"

namespace quillmere {
namespace {

using std::chrono::milliseconds;
using RestoreRule = ClipboardKeeper::RestoreRule;
using Target = PasteCommand::Target;

constexpr milliseconds waitAfterHiding{120};
constexpr milliseconds waitForFrontmost{400};  // beyond the ordinary wait, for a slow window manager
constexpr milliseconds frontmostPace{20};
constexpr milliseconds focusRetry{120};
constexpr milliseconds fetchLimit{1000};

}  // namespace

// One request on its way.
struct SmartPaste::Attempt {
  PasteRequest request;
  bool isTextWritten = false;
  RestoreRule rule = RestoreRule::whenDue;   // how the clipboard is given back, as things stand
  std::optional<RunningApplication> before;  // what had the focus
};

SmartPaste::SmartPaste(ClipboardKeeper& keeper, PasteCommand& command, Pasteboard& pasteboard, KeySynthesizer& keys,
                       Workspace& workspace, SmartPasteHooks hooks, const Logging& logging)
    : keeper_(keeper),
      command_(command),
      pasteboard_(pasteboard),
      workspace_(workspace),
      hooks_(std::move(hooks)),
      logger_(logging.logger(QStringLiteral("AccessibilityHelper"))),
      segmented_(keeper, command, pasteboard, keys, logging) {}

Task<PasteOutcome> SmartPaste::paste(PasteRequest request) {
  Attempt attempt;
  attempt.request = std::move(request);
  attempt.before = workspace_.frontmostApplication();
  PasteOutcome outcome = PasteOutcome::cancelled;
  try {
    outcome = co_await run(attempt);
  } catch (const Cancelled&) {
  }
  co_await shielded(finish(attempt, outcome));
  co_return outcome;
}

Task<PasteOutcome> SmartPaste::run(Attempt& attempt) {
  const auto& target = attempt.request.target;
  if (target && !workspace_.find(*target)) {
    logger_.warning("⚠️ The window of %{public}s is gone. Text on clipboard.", target->bundleId);
    attempt.rule = RestoreRule::afterUserFetch;
    co_return PasteOutcome::targetGone;
  }
  if (isTypingElsewhere(attempt)) {
    logger_.info("⌨️ The user types in another window. Text on clipboard.");
    attempt.rule = RestoreRule::afterUserFetch;
    co_return PasteOutcome::typedElsewhere;
  }
  const bool isReactivated = co_await reactivate(target);
  if (!isReactivated) {
    logger_.warning("⚠️ %{public}s did not come to the front. Text on clipboard.", target->bundleId);
    attempt.rule = RestoreRule::afterUserFetch;
    co_return PasteOutcome::noTarget;
  }
  if (target && hooks_.isElectronEditor && hooks_.isElectronEditor(target->bundleId)) {
    const auto& tags = attempt.request.tags;
    const bool hasReference =
        std::any_of(tags.begin(), tags.end(), [](const ProcessedTag& tag) { return tag.matchedFile.has_value(); });
    if (hasReference) {
      logger_.info("🎯 Detected Electron editor with matched file references - using async segmented paste");
      logger_.info("🔀 Performing async segmented paste for Electron editor");
      std::vector<PasteSegment> segments;
      if (hooks_.segmentText) segments = hooks_.segmentText(attempt.request.text, tags);
      const bool isWhole = segments.empty() || (segments.size() == 1 && !segments.front().isFileReference);
      if (!isWhole) co_return co_await pasteSegments(attempt, std::move(segments));
    } else {
      logger_.info("🎯 Detected Electron editor but no matched file references - using regular paste");
    }
  }
  co_return co_await pasteWhole(attempt);
}

Task<bool> SmartPaste::reactivate(const std::optional<RunningApplication>& target) {
  if (!target) {
    const auto front = workspace_.frontmostApplication();
    if (front && front->isThisApplication) {
      workspace_.hideThisApplication();
      co_await sleepFor(waitAfterHiding);
    }
    co_return true;
  }
  logger_.info("🔄 Reactivating previous app: %{public}s",
               target->bundleId.isEmpty() ? QStringLiteral("unknown") : target->bundleId);
  workspace_.activate(*target);
  co_await sleepFor(pasteTargets::waitAfterReactivation(target->bundleId));
  // Another window in front would get what was meant for this one.
  if (co_await comesToFront(*target)) co_return true;
  co_return !workspace_.frontmostApplication();
}

Task<bool> SmartPaste::comesToFront(const RunningApplication& application) {
  for (Duration waited{}; waited < waitForFrontmost; waited += frontmostPace) {
    if (isInFront(application)) co_return true;
    co_await sleepFor(frontmostPace);
  }
  co_return isInFront(application);
}

bool SmartPaste::isInFront(const RunningApplication& application) const {
  const auto front = workspace_.frontmostApplication();
  return front && isSameWindow(*front, application);
}

bool SmartPaste::isTypingElsewhere(const Attempt& attempt) const {
  const auto& [front, request] = std::tie(attempt.before, attempt.request);
  if (!front || !request.typing || (request.target && isSameWindow(*front, *request.target))) return false;
  return request.typing->hasTypedIn(*front);
}

Task<PasteOutcome> SmartPaste::pasteWhole(Attempt& attempt) {
  const QString text = attempt.request.text;
  attempt.isTextWritten = co_await keeper_.lend(text, attempt.request.clipboard);
  if (!attempt.isTextWritten) {
    logger_.error("%{public}s", localizedText("accessibility.error.paste.commandFailed"));
    co_return PasteOutcome::failed;
  }
  Target target = co_await command_.target();
  const auto& wanted = attempt.request.target;
  if (target != Target::text && target != Target::secure && wanted && pasteTargets::isSlowToFocus(wanted->bundleId)) {
    co_await sleepFor(focusRetry);
    target = co_await command_.target();
    if (PasteCommand::canPaste(target))
      logger_.info("✅ Focus became ready after short retry");
    else
      logger_.info("ℹ️ Focus not ready after retry");
  }
  if (target == Target::secure) {
    logger_.info("🔒 Secure field focused. Skipping auto-paste for safety.");
    co_return PasteOutcome::secureField;
  }
  if (target == Target::noText) {
    logger_.info("ℹ️ No paste target focused. Text on clipboard, scheduling restoration if enabled.");
    attempt.rule = RestoreRule::afterUserFetch;
    co_return PasteOutcome::noTarget;
  }
  co_await throwIfCancelled();
  const PasteCommand::Outcome sent = co_await command_.send(text);
  if (sent == PasteCommand::Outcome::secureField) co_return PasteOutcome::secureField;
  if (sent != PasteCommand::Outcome::sent) {
    logger_.error("%{public}s", localizedText("accessibility.error.paste.commandFailed"));
    attempt.rule = RestoreRule::afterUserFetch;
    co_return PasteOutcome::failed;
  }
  attempt.rule = RestoreRule::afterFetch;
  if (!co_await pasteboard_.waitForFetch(fetchLimit)) {
    logger_.warning("⚠️ The paste keystroke was sent but nobody fetched the text. Text on clipboard.");
    co_return PasteOutcome::notFetched;
  }
  logger_.info("✅ Successfully auto-pasted into focused input (async)");
  co_return PasteOutcome::pasted;
}

Task<PasteOutcome> SmartPaste::pasteSegments(Attempt& attempt, std::vector<PasteSegment> segments) {
  const Target target = co_await command_.target();
  if (target == Target::secure) co_return PasteOutcome::secureField;
  if (target == Target::noText) {
    logger_.info("📋 No paste target - copying to clipboard as fallback");
    attempt.rule = RestoreRule::afterUserFetch;
    co_return PasteOutcome::noTarget;
  }
  const bool isComplete = co_await segmented_.paste(std::move(segments), attempt.request.clipboard);
  if (!isComplete) {
    logger_.error("%{public}s", localizedText("accessibility.error.paste.partial"));
    attempt.rule = RestoreRule::afterUserFetch;
    co_return PasteOutcome::failed;
  }
  attempt.isTextWritten = true;
  co_return PasteOutcome::pasted;
}

// However it ended: the text is on the clipboard, its restore is scheduled, and the focus is where it was.
Task<void> SmartPaste::finish(Attempt& attempt, PasteOutcome outcome) {
  const PasteRequest& request = attempt.request;
  if (!attempt.isTextWritten) attempt.isTextWritten = co_await keeper_.lend(request.text, request.clipboard);
  const bool isPasted = outcome == PasteOutcome::pasted;
  if (isPasted) co_await keeper_.scheduleRestore(attempt.rule);
  co_await giveFocusBack(attempt);
  if (isPasted || !attempt.isTextWritten) co_return;
  if (request.onLeft) co_await nameKeys(request);
  co_await keeper_.scheduleRestore(attempt.rule);
}

Task<void> SmartPaste::nameKeys(const PasteRequest& request) {
  const PasteKeys keys = co_await command_.keysThatPaste();
  // Some programs paste the selection with these.
  if (keys == PasteKeys::shiftInsert && !keeper_.selection().holds(request.text))
    co_await keeper_.selection().lend(request.text);
  request.onLeft(keys);
}

Task<void> SmartPaste::giveFocusBack(const Attempt& attempt) {
  const auto& before = attempt.before;
  const auto& target = attempt.request.target;
  if (!before || !target || isSameWindow(*before, *target) || !isInFront(*target)) co_return;
  workspace_.activate(*before);
  // The next paste looks at what has the focus.
  co_await comesToFront(*before);
}

}  // namespace quillmere
