#include "delivery/ClipboardKeeper.h"

#include <QStringList>
#include <algorithm>

namespace quillmere {
namespace {

constexpr int loggedTypes = 5;
constexpr std::chrono::milliseconds fasterThanAnyUser{300};
constexpr std::chrono::hours anyTime{24 * 365};

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

ClipboardItems itemsOfText(const QString& text) {
  ClipboardItemData item;
  for (const char* type : {"text/plain;charset=utf-8", "UTF8_STRING", "text/plain"}) {
    item.types.append(QLatin1String(type));
    item.data.insert(QLatin1String(type), text.toUtf8());
  }
  return {item};
}

}  // namespace

ClipboardKeeper::ClipboardKeeper(Pasteboard& pasteboard, const SettingsManager* settings, Executor& executor,
                                 const Logging& logging)
    : pasteboard_(pasteboard),
      settings_(settings),
      logger_(logging.logger(QStringLiteral("AccessibilityHelper"))),
      scope_(executor) {}

Task<void> ClipboardKeeper::beginSession() {
  logger_.info("🎙️ Starting recording session");
  cancelRestore();
  isInRecordingSession_ = true;
  const bool isTextStillThere = isTextOnClipboard_ && pasteboard_.ownsContents();
  const auto manualCopy = std::exchange(manualCopy_, std::nullopt);
  if (cancelManualRestoration()) cancelledRule_ = RestoreRule::afterUserFetch;
  if (isTextStillThere) {
    // The user's own content is what was saved before that text.
    if (manualCopy) originalClipboardData_ = itemsOfText(manualCopy->previous);
    logger_.info(
        "📋 The text of an earlier dictation is on the clipboard, keeping the %{public}ld item(s) saved before",
        originalClipboardData_ ? qint64(originalClipboardData_->size()) : 0);
    co_return;
  }
  isTextOnClipboard_ = false;
  cancelledRule_.reset();
  originalClipboardData_.reset();
  auto reading = pasteboard_.items();
  const ClipboardItems items = withoutEmptyOnes(co_await std::move(reading));
  if (items.empty()) {
    logger_.info("📋 Clipboard is empty, nothing to save");
    co_return;
  }
  originalClipboardData_ = items;
  logger_.info("📋 Saved clipboard with %{public}ld item(s) containing types: %{public}s", items.size(),
               typesText(items));
}

void ClipboardKeeper::endSession() {
  logger_.info("🛑 Ending recording session");
  isInRecordingSession_ = false;
  resumeRestore();
}

bool ClipboardKeeper::writeText(const QString& text) {
  if (cancelManualRestoration()) manualCopy_.reset();
  cancelRestore();
  cancelledRule_.reset();
  if (!pasteboard_.writeText(text, true)) {
    logger_.error("❌ Could not write to the clipboard");
    return false;
  }
  isTextOnClipboard_ = true;
  return true;
}

void ClipboardKeeper::scheduleRestore(RestoreRule rule) {
  if (!isRestoreWanted() || !originalClipboardData_) return;
  const Duration delay = restoreDelay();
  logger_.info("⏰ Scheduling clipboard restoration in %{public}f seconds (%{public}ld item(s))",
               settings_->clipboardRestoreDelaySeconds(), originalClipboardData_->size());
  cancelRestore();
  cancelledRule_.reset();
  activeRule_ = rule;
  activeRestorationWorkItem_ = scope_.spawn(restoreLater(rule, delay));
}

void ClipboardKeeper::cancelRestore() {
  if (!isPending(activeRestorationWorkItem_)) return;
  activeRestorationWorkItem_.cancel();
  activeRestorationWorkItem_ = {};
  cancelledRule_ = activeRule_;
  isRestoreHeld_ = false;
  logger_.info("❌ Cancelled pending clipboard restoration");
  settled();
}

void ClipboardKeeper::resumeRestore() {
  if (!cancelledRule_ || !isTextOnClipboard_ || !pasteboard_.ownsContents()) return;
  scheduleRestore(*cancelledRule_);
}

Task<void> ClipboardKeeper::waitForRestore() {
  while ((isPending(activeRestorationWorkItem_) || isPending(manualRestoration_)) && !isRestoreHeld_) {
    Completion<void> change;
    waitingForRestore_.push_back(change);
    auto waiting = change.wait();
    co_await std::move(waiting);
  }
}

void ClipboardKeeper::restoreNow() {
  const bool isOurs = pasteboard_.ownsContents();
  resumeRestore();
  if (isPending(activeRestorationWorkItem_)) {
    activeRestorationWorkItem_.cancel();
    activeRestorationWorkItem_ = {};
    isRestoreHeld_ = false;
    if (isOurs) restore();
  }
  if (cancelManualRestoration() && isOurs) restoreManualCopy();
  settled();
}

Task<void> ClipboardKeeper::copyTextManually(QString text) {
  if (!isRestoreWanted()) {
    writeText(text);
    co_return;
  }
  const bool isTextStillThere = isTextOnClipboard_ && pasteboard_.ownsContents();
  if (isTextStillThere && (isPending(activeRestorationWorkItem_) || cancelledRule_)) {
    // The text already took the user's place there; what was saved before it is what comes back.
    if (writeText(text)) scheduleRestore(RestoreRule::afterUserFetch);
    co_return;
  }
  std::optional<QString> previous;
  if (isTextStillThere && manualCopy_) {
    previous = manualCopy_->previous;
  } else {
    auto reading = pasteboard_.string();
    previous = co_await std::move(reading);
  }
  if (!writeText(text) || !previous) co_return;
  manualCopy_ = ManualCopy{*previous};
  manualRestoration_ = scope_.spawn(restoreManualCopyLater(restoreDelay()));
}

Task<void> ClipboardKeeper::restoreLater(RestoreRule rule, Duration delay) {
  auto waiting = waitUntilDue(rule, delay);
  const bool isDue = co_await std::move(waiting);
  activeRestorationWorkItem_ = {};
  if (isDue) {
    restore();
  } else {
    isTextOnClipboard_ = false;
    if (!isInRecordingSession_) originalClipboardData_.reset();
  }
  settled();
}

Task<void> ClipboardKeeper::restoreManualCopyLater(Duration delay) {
  auto waiting = waitUntilDue(RestoreRule::afterUserFetch, delay);
  const bool isDue = co_await std::move(waiting);
  manualRestoration_ = {};
  if (isDue) restoreManualCopy();
  manualCopy_.reset();
  isTextOnClipboard_ = false;
  settled();
}

Task<bool> ClipboardKeeper::waitUntilDue(RestoreRule rule, Duration delay) {
  if (rule == RestoreRule::afterUserFetch) {
    const Duration first = std::min<Duration>(delay, fasterThanAnyUser);
    co_await sleepFor(first);
    pasteboard_.expectFetch();
    delay -= first;
  }
  co_await sleepFor(delay);
  if (pasteboard_.ownsContents() && rule != RestoreRule::whenDue && !pasteboard_.wasFetched()) {
    logger_.warning("⏸️ Nobody has fetched the text yet - it stays on the clipboard");
    isRestoreHeld_ = true;
    settled();
    auto fetch = pasteboard_.waitForFetch(anyTime);
    const bool isFetched = co_await std::move(fetch);
    isRestoreHeld_ = false;
    if (isFetched) co_await sleepFor(restoreDelay());
  }
  if (pasteboard_.ownsContents()) co_return true;
  logger_.info("📋 Another program has taken the clipboard - nothing to restore");
  co_return false;
}

void ClipboardKeeper::restore() {
  isTextOnClipboard_ = false;
  if (originalClipboardData_ && pasteboard_.write(*originalClipboardData_)) {
    logger_.info("♻️ Restored original clipboard content (%{public}ld item(s) with types: %{public}s)",
                 originalClipboardData_->size(), typesText(*originalClipboardData_));
  } else {
    logger_.warning("⚠️ Failed to restore clipboard content");
  }
  if (!isInRecordingSession_) originalClipboardData_.reset();
  if (onRestored_) onRestored_();
}

void ClipboardKeeper::restoreManualCopy() {
  const auto manualCopy = std::exchange(manualCopy_, std::nullopt);
  isTextOnClipboard_ = false;
  if (!manualCopy) return;
  if (pasteboard_.writeText(manualCopy->previous, true))
    logger_.info("♻️ Restored previous clipboard content (manual copy)");
  else
    logger_.warning("⚠️ Failed to restore clipboard content");
}

bool ClipboardKeeper::cancelManualRestoration() {
  if (!isPending(manualRestoration_)) return false;
  manualRestoration_.cancel();
  manualRestoration_ = {};
  isRestoreHeld_ = false;
  settled();
  return true;
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
