#include "delivery/AccessibilityHelper.h"

#include <algorithm>

#include "base/text/LocalizedText.h"
#include "delivery/PasteTargets.h"

namespace quillmere {
namespace {

using std::chrono::milliseconds;
using Kind = SmartPasteResult::Kind;
using RestoreRule = ClipboardKeeper::RestoreRule;

constexpr milliseconds waitAfterHiding{120};
constexpr milliseconds waitForFrontmost{400};  // beyond the ordinary wait, for a slow window manager
constexpr milliseconds frontmostPace{20};
constexpr milliseconds focusRetry{120};
constexpr milliseconds fetchLimit{1000};
constexpr milliseconds betweenSegments{50};
constexpr milliseconds beforeAutocomplete{500};
constexpr milliseconds beforeTab{200};
constexpr milliseconds beforeSpace{300};
constexpr milliseconds permissionPace{300};
constexpr size_t segmentLimit = 50;

SmartPasteResult failedWith(const char* key) {
  return SmartPasteResult::failed(PlatformError{QStringLiteral("AccessibilityHelper"), -1, localizedText(key)});
}

}  // namespace

AccessibilityHelper::AccessibilityHelper(const AccessibilityHelperServices& services, AccessibilityHelperHooks hooks,
                                         const Logging& logging)
    : workspace_(services.workspace),
      accessibility_(services.accessibility),
      keys_(services.keys),
      pasteboard_(services.pasteboard),
      hooks_(std::move(hooks)),
      logger_(logging.logger(QStringLiteral("AccessibilityHelper"))),
      keeper_(services.pasteboard, services.settings, services.executor, logging),
      command_(services.pasteboard, services.keys, services.workspace, services.accessibility, logging),
      scope_(services.executor) {
  keeper_.setOnRestored([this] { command_.restoreSelection(); });
}

Task<void> AccessibilityHelper::beginRecordingSession() {
  return keeper_.beginSession();
}
void AccessibilityHelper::endRecordingSession() {
  keeper_.endSession();
}
void AccessibilityHelper::cancelPaste() {
  currentPasteTask_.cancel();
}
Task<void> AccessibilityHelper::copyTextManually(QString text) {
  return keeper_.copyTextManually(std::move(text));
}
Task<void> AccessibilityHelper::waitForRestore() {
  return keeper_.waitForRestore();
}
void AccessibilityHelper::restoreNow() {
  keeper_.restoreNow();
}
bool AccessibilityHelper::isTrusted() const {
  return accessibility_.isTrusted();
}

void AccessibilityHelper::openAccessibilitySettings() {
  if (hooks_.openUrl)
    hooks_.openUrl(QStringLiteral("x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"));
}

void AccessibilityHelper::startPermissionPolling() {
  if (permissionPolling_.isValid() && !permissionPolling_.isDone()) return;
  permissionPolling_ = scope_.spawn(pollPermission());
}

Task<void> AccessibilityHelper::pollPermission() {
  while (!accessibility_.isTrusted()) co_await sleepFor(permissionPace);
  logger_.info("✅ Accessibility permission GRANTED! Posting notification...");
  accessibilityPermissionGranted_.set(true);
}

void AccessibilityHelper::logPermissionGuidance() {
  if (std::exchange(hasLoggedPermissionGuidance_, true)) return;
  logger_.warning("⚠️ App is NOT trusted. Check System Settings > Privacy & Security > Accessibility");
  logger_.warning("⚠️ Look for entries matching:");
  logger_.warning("   %{public}s", "Quillmere");
}

Task<SmartPasteResult> AccessibilityHelper::smartPaste(QString text, std::vector<ProcessedTag> processedTags,
                                                       std::optional<qint64> targetPID) {
  if (!accessibility_.isTrusted()) {
    logPermissionGuidance();
    co_return SmartPasteResult{Kind::noPermission, {}};
  }
  keeper_.cancelRestore();
  try {
    const auto target = targetPID ? workspace_.runningApplication(*targetPID) : std::nullopt;
    auto reactivation = reactivate(target);
    if (!co_await std::move(reactivation)) {
      logger_.warning("⚠️ %{public}s did not come to the front. Text on clipboard.", target->bundleId);
      if (!keeper_.writeText(text)) co_return failedWith("accessibility.error.paste.commandFailed");
      keeper_.scheduleRestore(RestoreRule::afterUserFetch);
      co_return SmartPasteResult{Kind::noFocusedField, {}};
    }
    if (target && hooks_.isElectronEditor && hooks_.isElectronEditor(target->bundleId)) {
      const bool hasReference = std::any_of(processedTags.begin(), processedTags.end(),
                                            [](const ProcessedTag& tag) { return tag.matchedFile.has_value(); });
      if (hasReference) {
        logger_.info("🎯 Detected Electron editor with matched file references - using async segmented paste");
        auto pasting = performSegmentedPaste(std::move(text), std::move(processedTags));
        co_return co_await std::move(pasting);
      }
      logger_.info("🎯 Detected Electron editor but no matched file references - using regular paste");
    }
    auto pasting = pasteWhole(std::move(text), target ? target->bundleId : QString());
    co_return co_await std::move(pasting);
  } catch (const Cancelled&) {
    keeper_.resumeRestore();
    throw;
  }
}

Task<bool> AccessibilityHelper::reactivate(std::optional<RunningApplication> target) {
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
  workspace_.activate(target->processId);
  co_await sleepFor(pasteTargets::waitAfterReactivation(target->bundleId));
  // Another window in front would get what was meant for this one.
  for (Duration waited{}; waited < waitForFrontmost; waited += frontmostPace) {
    const auto front = workspace_.frontmostApplication();
    if (front && front->processId == target->processId) co_return true;
    co_await sleepFor(frontmostPace);
  }
  const auto front = workspace_.frontmostApplication();
  co_return !front || front->processId == target->processId;
}

Task<SmartPasteResult> AccessibilityHelper::pasteWhole(QString text, QString targetBundleId) {
  if (!keeper_.writeText(text)) co_return failedWith("accessibility.error.paste.commandFailed");
  auto rule = RestoreRule::whenDue;
  try {
    auto firstLook = command_.target();
    PasteCommand::Target target = co_await std::move(firstLook);
    const bool isFound = target.canPaste && !target.isBlind;
    if (!target.isSecure && !isFound && pasteTargets::isSlowToFocus(targetBundleId)) {
      co_await sleepFor(focusRetry);
      auto secondLook = command_.target();
      target = co_await std::move(secondLook);
      if (target.canPaste)
        logger_.info("✅ Focus became ready after short retry");
      else
        logger_.info("ℹ️ Focus not ready after retry");
    }
    if (target.isSecure) {
      logger_.info("🔒 Secure field focused. Skipping auto-paste for safety.");
      keeper_.scheduleRestore(RestoreRule::whenDue);
      co_return SmartPasteResult{Kind::secureField, {}};
    }
    if (!target.canPaste) {
      logger_.info("ℹ️ No paste target focused. Text on clipboard, scheduling restoration if enabled.");
      keeper_.scheduleRestore(RestoreRule::afterUserFetch);
      co_return SmartPasteResult{Kind::noFocusedField, {}};
    }
    co_await throwIfCancelled();
    auto sending = command_.send(text);
    const PasteCommand::Outcome outcome = co_await std::move(sending);
    if (outcome == PasteCommand::Outcome::secureField) {
      keeper_.scheduleRestore(RestoreRule::whenDue);
      co_return SmartPasteResult{Kind::secureField, {}};
    }
    if (outcome != PasteCommand::Outcome::sent) {
      keeper_.scheduleRestore(RestoreRule::afterUserFetch);
      co_return failedWith("accessibility.error.paste.commandFailed");
    }
    rule = RestoreRule::afterFetch;
    auto fetch = pasteboard_.waitForFetch(fetchLimit);
    const bool isFetched = co_await std::move(fetch);
    keeper_.scheduleRestore(RestoreRule::afterFetch);
    if (!isFetched) {
      logger_.warning("⚠️ The paste keystroke was sent but nobody fetched the text. Text on clipboard.");
      co_return SmartPasteResult{Kind::notFetched, {}};
    }
    logger_.info("✅ Successfully auto-pasted into focused input (async)");
    co_return SmartPasteResult{};
  } catch (const Cancelled&) {
    keeper_.scheduleRestore(rule);
    throw;
  }
}

Task<SmartPasteResult> AccessibilityHelper::performSegmentedPaste(QString text,
                                                                  std::vector<ProcessedTag> processedTags) {
  logger_.info("🔀 Performing async segmented paste for Electron editor");
  if (!accessibility_.isTrusted()) co_return SmartPasteResult{Kind::noPermission, {}};
  auto look = command_.target();
  const PasteCommand::Target target = co_await std::move(look);
  if (target.isSecure || !target.canPaste) {
    logger_.info("📋 No paste target - copying to clipboard as fallback");
    if (!keeper_.writeText(text)) co_return failedWith("accessibility.error.paste.commandFailed");
    keeper_.scheduleRestore(target.isSecure ? RestoreRule::whenDue : RestoreRule::afterUserFetch);
    co_return SmartPasteResult{target.isSecure ? Kind::secureField : Kind::noFocusedField, {}};
  }
  keeper_.cancelRestore();
  std::vector<PasteSegment> segments;
  if (hooks_.segmentText) segments = hooks_.segmentText(text, processedTags);
  if (segments.empty()) segments.push_back({text, false});
  if (segments.size() == 1 && !segments.front().isFileReference) {
    try {
      auto pasting = pasteOne(text);
      const Delivery delivery = co_await std::move(pasting);
      keeper_.scheduleRestore(delivery == Delivery::secureField ? RestoreRule::whenDue : RestoreRule::afterFetch);
      if (delivery == Delivery::fetched) co_return SmartPasteResult{};
      if (delivery == Delivery::notFetched) co_return SmartPasteResult{Kind::notFetched, {}};
      if (delivery == Delivery::secureField) co_return SmartPasteResult{Kind::secureField, {}};
      co_return failedWith("accessibility.error.paste.partial");
    } catch (const Cancelled&) {
      keeper_.scheduleRestore(RestoreRule::whenDue);
      throw;
    }
  }
  if (segments.size() > segmentLimit) {
    logger_.warning("⚠️ Limiting segmented paste to first %{public}ld segments (total: %{public}ld)", segmentLimit,
                    segments.size());
    segments.resize(segmentLimit);
  }
  auto pasting = pasteSegments(std::move(segments));
  co_return co_await std::move(pasting);
}

Task<SmartPasteResult> AccessibilityHelper::pasteSegments(std::vector<PasteSegment> segments) {
  const qsizetype total = qsizetype(segments.size());
  qsizetype number = 0;
  bool isComplete = true;
  try {
    for (const PasteSegment& segment : segments) {
      ++number;
      co_await throwIfCancelled();
      if (segment.isFileReference) {
        auto pasting = pasteFileReference(segment.text, number, total);
        if (!co_await std::move(pasting)) isComplete = false;
      } else {
        logger_.info("📝 Pasting text segment %{public}ld/%{public}ld: `%s`", number, total, segment.text);
        auto pasting = pasteOne(segment.text);
        const Delivery delivery = co_await std::move(pasting);
        if (delivery != Delivery::fetched) {
          logger_.error("❌ Failed to paste text segment");
          isComplete = false;
        }
      }
      if (number < total) co_await sleepFor(betweenSegments);
    }
  } catch (const Cancelled&) {
    logger_.info("❌ Segmented paste cancelled at segment %{public}ld/%{public}ld", number, total);
    keeper_.scheduleRestore(RestoreRule::whenDue);
    throw;
  }
  // What is left on the clipboard is one piece, of no use to anybody.
  keeper_.scheduleRestore(RestoreRule::whenDue);
  if (!isComplete) {
    logger_.warning("⚠️ Async segmented paste partially failed - clipboard restored");
    co_return failedWith("accessibility.error.paste.partial");
  }
  logger_.info("✅ Async segmented paste completed successfully");
  co_return SmartPasteResult{};
}

Task<bool> AccessibilityHelper::pasteFileReference(QString text, qsizetype number, qsizetype total) {
  bool isComplete = true;
  logger_.info("📁 Pasting MATCHED file reference: %{public}ld/%{public}ld: `%s`", number, total, text);
  auto pasting = pasteOne(text);
  const Delivery delivery = co_await std::move(pasting);
  if (delivery != Delivery::fetched) {
    logger_.error("❌ Failed to paste file reference");
    isComplete = false;
  }
  co_await sleepFor(beforeAutocomplete);
  auto look = command_.target();
  const PasteCommand::Target target = co_await std::move(look);
  if (target.isSecure || !target.canPaste) co_return false;
  logger_.info("🔤 Pressing Ctrl+Space to trigger autocomplete - %{public}ld/%{public}ld: `%s`", number, total, text);
  if (!keys_.press(KeySynthesizer::NamedKey::space, KeySynthesizer::Modifier::control)) {
    logger_.warning("⚠️ Failed to send Ctrl+Space");
    isComplete = false;
  }
  co_await sleepFor(beforeTab);
  logger_.info("⇥ Pressing Tab to accept suggestion - %{public}ld/%{public}ld: `%s`", number, total, text);
  if (!keys_.press(KeySynthesizer::NamedKey::tab, KeySynthesizer::Modifier::none)) {
    logger_.warning("⚠️ Failed to send Tab");
    isComplete = false;
  }
  co_await sleepFor(beforeSpace);
  logger_.info("➕ Adding space after file reference");
  auto spacing = pasteOne(QStringLiteral(" "));
  const Delivery space = co_await std::move(spacing);
  if (space != Delivery::fetched) {
    logger_.warning("⚠️ Failed to add space");
    isComplete = false;
  }
  co_return isComplete;
}

Task<AccessibilityHelper::Delivery> AccessibilityHelper::pasteOne(QString text) {
  if (!keeper_.writeText(text)) co_return Delivery::failed;
  auto sending = command_.send(text);
  const PasteCommand::Outcome outcome = co_await std::move(sending);
  if (outcome == PasteCommand::Outcome::secureField) co_return Delivery::secureField;
  if (outcome != PasteCommand::Outcome::sent) co_return Delivery::failed;
  // The next piece must not take the place of one that the target is still to fetch.
  auto fetch = pasteboard_.waitForFetch(fetchLimit);
  const bool isFetched = co_await std::move(fetch);
  co_return isFetched ? Delivery::fetched : Delivery::notFetched;
}

}  // namespace quillmere
