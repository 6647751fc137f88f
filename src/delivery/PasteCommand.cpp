#include "delivery/PasteCommand.h"

#include <atomic>
#include <memory>

#include "base/async/Async.h"
#include "delivery/PasteTargets.h"

namespace quillmere {
namespace {

constexpr std::chrono::milliseconds lookLimit{250};

// Filled on the accessibility thread. What was found counts even when the look took too long.
struct Findings {
  std::atomic<bool> isSecure{false};
  std::atomic<FocusFinding> focus{FocusFinding::unreadable};
};

}  // namespace

PasteCommand::PasteCommand(Pasteboard& pasteboard, LentSelection& selection, KeySynthesizer& keys, Workspace& workspace,
                           Accessibility& accessibility, const Logging& logging)
    : pasteboard_(pasteboard),
      selection_(selection),
      keys_(keys),
      workspace_(workspace),
      accessibility_(accessibility),
      logger_(logging.logger(QStringLiteral("AccessibilityHelper"))) {}

Task<PasteCommand::Target> PasteCommand::target() {
  const auto front = workspace_.frontmostApplication();
  FocusQuery query;
  if (front) query = {front->processId, front->bundleId};
  const QString bundleId = query.frontmostBundleId;
  const bool isKnown = pasteTargets::isBrowser(bundleId) || pasteTargets::pastesWithShiftInsert(bundleId);
  const auto findings = std::make_shared<Findings>();
  if (!accessibility_.isTrusted()) {
    logger_.warning("❌ No accessibility permission - cannot check focused element");
  } else {
    std::function<void(AccessibilityTree&)> look = [findings, query, isKnown,
                                                    logger = logger_](AccessibilityTree& tree) {
      findings->isSecure = isSecureFieldFocused(tree);
      if (!findings->isSecure && !isKnown) findings->focus = readFocus(tree, query, logger);
    };
    if (!co_await accessibility_.visit(std::move(look), lookLimit))
      logger_.warning("⚠️ The target does not answer to accessibility in time");
  }
  if (findings->isSecure) co_return Target::secure;
  const FocusFinding focus = findings->focus;
  if (isKnown || focus == FocusFinding::text) co_return Target::text;
  if (pasteTargets::isBlindPaste(bundleId)) {
    logger_.warning("⚠️ Falling back to blind paste whitelist for %{public}s", bundleId);
    co_return Target::listed;
  }
  co_return focus == FocusFinding::noText ? Target::noText : Target::unreadable;
}

Task<PasteKeys> PasteCommand::keysThatPaste() {
  const Target found = co_await target();
  if (found == Target::unreadable) co_return PasteKeys::shiftInsert;
  const auto front = workspace_.frontmostApplication();
  co_return front&& pasteTargets::pastesWithShiftInsert(front->bundleId) ? PasteKeys::shiftInsert : PasteKeys::controlV;
}

Task<PasteCommand::Outcome> PasteCommand::send(QString text) {
  logger_.info("📋 Attempting to send paste command (⌘V)...");
  const Target found = co_await target();
  if (found == Target::secure) {
    logger_.info("🔒 Secure field focused. Skipping auto-paste for safety.");
    co_return Outcome::secureField;
  }
  if (found == Target::noText) {
    logger_.info("❌ No text input focused - not sending ⌘V");
    co_return Outcome::noTarget;
  }
  const bool isSent = co_await sendChord(std::move(text), found);
  co_return isSent ? Outcome::sent : Outcome::failed;
}

Task<bool> PasteCommand::sendBlindly(QString text) {
  return sendChord(std::move(text), Target::text);
}

Task<bool> PasteCommand::sendChord(QString text, Target target) {
  const auto front = workspace_.frontmostApplication();
  const auto letter = QLatin1Char('v');
  bool isChordPossible =
      target != Target::unreadable && (!front || !pasteTargets::pastesWithShiftInsert(front->bundleId));
  if (isChordPossible && !keys_.isAvailable()) {
    logger_.error("❌ Failed to create CGEventSource");
    co_return false;
  }
  const auto keyCode = isChordPossible ? keys_.keyCodeForLetter(letter) : std::nullopt;
  if (isChordPossible && !keyCode) {
    logger_.warning("Could not find key code for '%s' on current keyboard layout", QString(letter));
    isChordPossible = false;
  }
  if (isChordPossible) {
    logger_.debug("   Posting keyDown to .cghidEventTap...");
    pasteboard_.expectFetch();
    const auto pressed = keys_.press(*keyCode, KeySynthesizer::Modifier::control);
    if (pressed) {
      logger_.debug("   Posting keyUp to .cghidEventTap...");
      logger_.info("✅ Paste command sent");
      co_return true;
    }
    logger_.error("❌ Failed to create CGEvents");
  }
  co_return co_await sendShiftInsert(std::move(text));
}

Task<bool> PasteCommand::sendShiftInsert(QString text) {
  if (!co_await selection_.lend(std::move(text))) {
    logger_.error("❌ AppleScript paste error: %{public}s", "the selection can't be had");
    co_return false;
  }
  pasteboard_.expectFetch();
  const auto pressed = keys_.press(KeySynthesizer::NamedKey::insert, KeySynthesizer::Modifier::shift);
  if (!pressed) {
    logger_.error("❌ AppleScript paste error: %{public}s", pressed.error().description);
    co_return false;
  }
  logger_.info("✅ AppleScript paste executed");
  co_return true;
}

}  // namespace quillmere
