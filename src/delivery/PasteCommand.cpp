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
  std::atomic<bool> isInput{false};
};

}  // namespace

PasteCommand::PasteCommand(Pasteboard& pasteboard, KeySynthesizer& keys, Workspace& workspace,
                           Accessibility& accessibility, const Logging& logging)
    : pasteboard_(pasteboard),
      keys_(keys),
      workspace_(workspace),
      accessibility_(accessibility),
      logger_(logging.logger(QStringLiteral("AccessibilityHelper"))) {}

Task<PasteCommand::Target> PasteCommand::target() {
  const auto front = workspace_.frontmostApplication();
  const FocusQuery query{front ? std::optional(front->processId) : std::nullopt, front ? front->bundleId : QString()};
  const QString bundleId = query.frontmostBundleId;
  const bool isKnown = pasteTargets::isBrowser(bundleId) || pasteTargets::isTerminal(bundleId);
  const auto findings = std::make_shared<Findings>();
  if (!accessibility_.isTrusted()) {
    logger_.warning("❌ No accessibility permission - cannot check focused element");
  } else {
    std::function<void(AccessibilityTree&)> look = [findings, query, isKnown,
                                                    logger = logger_](AccessibilityTree& tree) {
      findings->isSecure = isSecureFieldFocused(tree);
      if (!findings->isSecure && !isKnown) findings->isInput = isTextInputFocused(tree, query, logger);
    };
    auto visit = accessibility_.visit(std::move(look), lookLimit);
    if (!co_await std::move(visit)) logger_.warning("⚠️ The target does not answer to accessibility in time");
  }
  Target target;
  target.isSecure = findings->isSecure;
  target.canPaste = isKnown || findings->isInput;
  if (!target.canPaste && !target.isSecure && pasteTargets::isBlindPaste(bundleId)) {
    logger_.warning("⚠️ Falling back to blind paste whitelist for %{public}s", bundleId);
    target.canPaste = target.isBlind = true;
  }
  co_return target;
}

Task<PasteCommand::Outcome> PasteCommand::send(QString text) {
  logger_.info("📋 Attempting to send paste command (⌘V)...");
  if (!accessibility_.isTrusted()) {
    logger_.error("❌ No accessibility permission - cannot paste");
    co_return Outcome::failed;
  }
  auto look = target();
  const Target found = co_await std::move(look);
  if (found.isSecure) {
    logger_.info("🔒 Secure field focused. Skipping auto-paste for safety.");
    co_return Outcome::secureField;
  }
  if (!found.canPaste) {
    logger_.info("❌ No text input focused - not sending ⌘V");
    co_return Outcome::noTarget;
  }
  auto sending = sendBlindly(text);
  const bool isSent = co_await std::move(sending);
  co_return isSent ? Outcome::sent : Outcome::failed;
}

Task<bool> PasteCommand::sendBlindly(QString text) {
  const auto front = workspace_.frontmostApplication();
  const auto letter = QLatin1Char('v');
  bool isChordPossible = !front || !pasteTargets::isTerminal(front->bundleId);
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
  auto sending = sendShiftInsert(text);
  const bool isSent = co_await std::move(sending);
  co_return isSent;
}

Task<bool> PasteCommand::sendShiftInsert(QString text) {
  if (!isTextInSelection_ || !pasteboard_.ownsSelection()) {
    isTextInSelection_ = false;
    auto reading = pasteboard_.selectionString();
    replacedSelection_ = co_await std::move(reading);
  }
  if (!pasteboard_.writeSelection(text)) {
    logger_.error("❌ AppleScript paste error: %{public}s", "the selection can't be had");
    co_return false;
  }
  isTextInSelection_ = true;
  pasteboard_.expectFetch();
  const auto pressed = keys_.press(KeySynthesizer::NamedKey::insert, KeySynthesizer::Modifier::shift);
  if (!pressed) {
    logger_.error("❌ AppleScript paste error: %{public}s", pressed.error().description);
    co_return false;
  }
  logger_.info("✅ AppleScript paste executed");
  co_return true;
}

void PasteCommand::restoreSelection() {
  const auto replaced = std::exchange(replacedSelection_, std::nullopt);
  if (std::exchange(isTextInSelection_, false) && replaced && pasteboard_.ownsSelection())
    pasteboard_.writeSelection(*replaced);
}

}  // namespace quillmere
