#include "delivery/TextInputService.h"

#include "base/async/Async.h"
#include "base/text/Graphemes.h"

namespace quillmere {
namespace {

constexpr std::chrono::milliseconds settleTime{50};
constexpr std::chrono::milliseconds fetchLimit{1000};

}  // namespace

TextInputService::TextInputService(Pasteboard& pasteboard, KeySynthesizer& keys, Workspace& workspace,
                                   Accessibility& accessibility, const Logging& logging)
    : pasteboard_(pasteboard),
      keys_(keys),
      accessibility_(accessibility),
      logger_(logging.logger(QStringLiteral("TextInputService"))),
      selection_(pasteboard),
      command_(pasteboard, selection_, keys, workspace, accessibility, logging) {}

Task<bool> TextInputService::pasteText(QString text) {
  if (!accessibility_.isTrusted()) {
    logger_.error("❌ No accessibility permission - cannot paste");
    co_return false;
  }
  if (co_await command_.target() == PasteCommand::Target::secure) {
    logger_.info("🔒 Secure field focused. Skipping auto-paste for safety.");
    co_return false;
  }
  auto reading = pasteboard_.string();
  const std::optional<QString> previous = co_await std::move(reading);
  // From here on the clipboard isn't the user's: to the end, whatever happens to the caller.
  auto lending = lendClipboard(text, previous);
  auto lent = shielded(std::move(lending));
  co_return co_await std::move(lent);
}

Task<bool> TextInputService::lendClipboard(QString text, std::optional<QString> previous) {
  if (!pasteboard_.writeText(text, true)) {
    logger_.error("❌ Could not write to the clipboard");
    co_return false;
  }
  bool isPasted = false;
  if (!keys_.isAvailable()) {
    logger_.error("❌ Failed to create CGEventSource for paste");
  } else {
    auto sending = command_.sendBlindly(text);
    const bool isSent = co_await std::move(sending);
    if (isSent) {
      co_await sleepFor(settleTime);
      auto fetch = pasteboard_.waitForFetch(fetchLimit);
      isPasted = co_await std::move(fetch);
      if (!isPasted) logger_.warning("⚠️ The paste keystroke was sent but nobody fetched the text.");
    } else {
      logger_.error("❌ Failed to create CGEvents for paste");
    }
  }
  if (previous && pasteboard_.ownsContents()) pasteboard_.writeText(*previous, false);
  selection_.giveBack();
  if (isPasted) logger_.info("✅ Pasted %{public}ld characters via clipboard", graphemeCount(text));
  co_return isPasted;
}

}  // namespace quillmere
