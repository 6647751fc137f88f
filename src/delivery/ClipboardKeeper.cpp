#include "delivery/ClipboardKeeper.h"

#include <QStringList>
#include <algorithm>

namespace quillmere {
namespace {

constexpr int loggedTypes = 5;
constexpr int readLimit = 3;  // of a clipboard that changes while it is read
constexpr std::chrono::milliseconds fasterThanAnyUser{300};
constexpr std::chrono::milliseconds takeoverLimit{500};
constexpr std::chrono::minutes heldPace{1};

QString typesText(const ClipboardItems& items) {
  QStringList types;
  for (const auto& item : items) types += item.types;
  return types.mid(0, loggedTypes).join(QStringLiteral(", "));
}

bool isPending(const TaskHandle<void>& task) {
  return task.isValid() && !task.isDone();
}

ClipboardItems withoutEmptyOnes(const ClipboardItems& items) {
  ClipboardItems kept;
  for (const auto& item : items) {
    ClipboardItemData one;
    for (const QString& type : item.types) {
      if (!item.data.contains(type)) continue;
      one.types.append(type);
      one.data.insert(type, item.data.value(type));
    }
    if (!one.types.isEmpty()) kept.push_back(std::move(one));
  }
  return kept;
}

}  // namespace

ClipboardKeeper::ClipboardKeeper(Pasteboard& pasteboard, const SettingsManager* settings, Executor& executor,
                                 const Logging& logging)
    : pasteboard_(pasteboard),
      settings_(settings),
      logger_(logging.logger(QStringLiteral("AccessibilityHelper"))),
      selection_(pasteboard),
      scope_(executor) {}

bool ClipboardKeeper::isTextThere() const {
  return text_ && (pasteboard_.ownsContents() || takenOverAt_ == pasteboard_.changeCount());
}

Task<std::shared_ptr<ClipboardLoan>> ClipboardKeeper::borrow() {
  // The text of an earlier dictation is not the user's own; what it displaced is known.
  if (!isRestoreWanted() || isTextThere()) co_return nullptr;
  const quint64 count = pasteboard_.changeCount();
  ClipboardItems items = co_await read();
  co_return std::make_shared<ClipboardLoan>(std::move(items), count);
}

Task<ClipboardItems> ClipboardKeeper::read() {
  ClipboardItems items = withoutEmptyOnes(co_await pasteboard_.items());
  if (items.empty())
    logger_.info("📋 Clipboard is empty, nothing to save");
  else
    logger_.info("📋 Saved clipboard with %{public}ld item(s) containing types: %{public}s", items.size(),
                 typesText(items));
  co_return items;
}

Task<bool> ClipboardKeeper::lend(QString text, std::shared_ptr<ClipboardLoan> loan) {
  const bool isDisplacedKnown = isTextThere();
  std::optional<ClipboardItems> users;
  if (!isDisplacedKnown && isRestoreWanted()) {
    if (loan) users = loan->take(pasteboard_.changeCount());
    for (int reads = 0; !users && reads < readLimit; ++reads) {
      const quint64 count = pasteboard_.changeCount();
      ClipboardItems items = co_await read();
      if (count == pasteboard_.changeCount() || reads + 1 == readLimit) users = std::move(items);
    }
  }
  if (!pasteboard_.writeText(text, true)) {
    logger_.error("❌ Could not write to the clipboard");
    co_return false;
  }
  cancelRestore();
  text_ = std::move(text);
  takenOverAt_.reset();
  if (!isDisplacedKnown) displaced_ = std::move(users);
  co_return true;
}

bool ClipboardKeeper::copyForUser(const QString& text) {
  if (!pasteboard_.writeText(text, false)) return false;
  cancelRestore();
  text_.reset();
  displaced_.reset();
  selection_.giveBack();
  return true;
}

Task<void> ClipboardKeeper::scheduleRestore(RestoreRule rule) {
  if (!isRestoreWanted()) {
    displaced_.reset();
    co_return;
  }
  co_await noticeTakeover();
  if (!hasSomethingToGiveBack()) co_return;
  const Duration delay = restoreDelay();
  logger_.info("⏰ Scheduling clipboard restoration in %{public}f seconds (%{public}ld item(s))",
               settings_->clipboardRestoreDelaySeconds(), displaced_ ? qint64(displaced_->size()) : 0);
  cancelRestore();
  restoration_ = scope_.spawn(restoreLater(rule, delay));
}

// Some programs own what they paste from then on; it is our text all the same.
Task<void> ClipboardKeeper::noticeTakeover() {
  if (!text_ || isTextThere()) co_return;
  const quint64 count = pasteboard_.changeCount();
  const auto reading = co_await withTimeout(takeoverLimit, pasteboard_.string());
  if (reading.value_or(std::nullopt) == text_) takenOverAt_ = count;
}

bool ClipboardKeeper::hasSomethingToGiveBack() const {
  return isRestoreWanted() && ((displaced_ && !displaced_->empty()) || selection_.isLent());
}

bool ClipboardKeeper::cancelRestore() {
  if (!isPending(restoration_)) return false;
  restoration_.cancel();
  restoration_ = {};
  isRestoreHeld_ = false;
  logger_.info("❌ Cancelled pending clipboard restoration");
  settled();
  return true;
}

Task<void> ClipboardKeeper::waitForRestore() {
  while (isPending(restoration_) && !isRestoreHeld_) {
    Completion<void> change;
    waitingForRestore_.push_back(change);
    co_await change.wait();
  }
}

void ClipboardKeeper::restoreNow() {
  cancelRestore();
  if (!hasSomethingToGiveBack()) return;
  if (isTextThere())
    restore();
  else
    selection_.giveBack();
}

Task<void> ClipboardKeeper::restoreLater(RestoreRule rule, Duration delay) {
  const bool isDue = co_await waitUntilDue(rule, delay);
  restoration_ = {};
  if (isDue) {
    restore();
  } else {
    logger_.info("📋 Another program has taken the clipboard - nothing to restore");
    text_.reset();
    displaced_.reset();
    selection_.giveBack();
  }
  settled();
}

Task<bool> ClipboardKeeper::waitUntilDue(RestoreRule rule, Duration delay) {
  if (rule == RestoreRule::afterUserFetch) {
    const Duration first = std::min<Duration>(delay, fasterThanAnyUser);
    co_await sleepFor(first);
    pasteboard_.expectFetch();
    delay -= first;
  } else {
    // A program may take the text over a moment after it has pasted it.
    const Duration first = std::min<Duration>(delay, fasterThanAnyUser);
    co_await sleepFor(first);
    co_await noticeTakeover();
    delay -= first;
  }
  co_await sleepFor(delay);
  if (rule != RestoreRule::whenDue && !pasteboard_.wasFetched()) {
    logger_.warning("⏸️ Nobody has fetched the text yet - it stays on the clipboard");
    isRestoreHeld_ = true;
    settled();
    bool isFetched = false;
    while (!isFetched && pasteboard_.ownsContents()) isFetched = co_await pasteboard_.waitForFetch(heldPace);
    isRestoreHeld_ = false;
    if (!isFetched) co_return false;
    co_await sleepFor(restoreDelay());
  }
  co_return isTextThere();
}

void ClipboardKeeper::restore() {
  selection_.giveBack();
  // What was empty stays as it is: with the text.
  const auto items = std::exchange(displaced_, std::nullopt);
  if (!items || items->empty()) return;
  text_.reset();
  if (pasteboard_.write(*items))
    logger_.info("♻️ Restored original clipboard content (%{public}ld item(s) with types: %{public}s)", items->size(),
                 typesText(*items));
  else
    logger_.warning("⚠️ Failed to restore clipboard content");
}

bool ClipboardKeeper::isRestoreWanted() const {
  return settings_ && settings_->restoreClipboardAfterPaste();
}

Duration ClipboardKeeper::restoreDelay() const {
  return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(
      settings_ ? std::clamp(settings_->clipboardRestoreDelaySeconds(), 0.0, 86400.0 * 365) : 0.0));
}

void ClipboardKeeper::settled() {
  for (auto& waiting : std::exchange(waitingForRestore_, {})) waiting.resolve();
}

}  // namespace quillmere
