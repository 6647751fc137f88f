#pragma once
#include <algorithm>
#include <vector>

#include "base/async/Async.h"
#include "ports/Pasteboard.h"

namespace quillmere {

// A clipboard in memory, with a history of what was put on it.
class FakePasteboard final : public Pasteboard {
 public:
  ClipboardItems contents;
  std::optional<QString> selection;
  bool canWrite = true;
  Duration readTakes{};  // of items(), string() and selectionString()
  // Every fetch by the target happens at expectFetch() itself; off: nobody fetches by himself.
  bool isFetchedWhenExpected = true;

  // What this process did.
  struct Write {
    QString text;  // the plain text in it
    bool isConcealed = false;
    bool isSelection = false;
    bool operator==(const Write&) const = default;
  };
  std::vector<Write> writes;

  Task<ClipboardItems> items() override {
    co_await reading();
    co_return contents;
  }
  Task<std::optional<QString>> string() override {
    co_await reading();
    co_return plainText();
  }
  quint64 changeCount() const override { return changeCount_; }

  bool writeText(const QString& text, bool isConcealed) override {
    if (!canWrite) return false;
    const QByteArray bytes = text.toUtf8();
    ClipboardItemData item;
    for (const char* type : {"text/plain;charset=utf-8", "UTF8_STRING", "text/plain"}) put(item, type, bytes);
    if (isConcealed) put(item, "x-kde-passwordManagerHint", "secret");
    writes.push_back({text, isConcealed, false});
    become({item}, true);
    return true;
  }
  bool write(const ClipboardItems& items) override {
    if (!canWrite) return false;
    ClipboardItems kept;
    for (const auto& item : items)
      if (!item.types.isEmpty()) kept.push_back(item);
    become(kept, true);
    writes.push_back({plainText().value_or(QString()), false, false});
    return true;
  }
  bool ownsContents() const override { return isOurs_; }

  void expectFetch() override {
    wasFetched_ = false;
    if (isFetchedWhenExpected && (isOurs_ || isSelectionOurs_)) fetch();
  }
  bool wasFetched() const override { return wasFetched_; }
  Task<bool> waitForFetch(Duration timeout) override {
    const auto waiting = std::make_shared<Completion<bool>>();
    if (wasFetched_)
      waiting->resolve(true);
    else if (!isOurs_ && !isSelectionOurs_)
      waiting->resolve(false);
    else
      waiting_.push_back(waiting);
    const std::optional<bool> outcome = co_await withTimeout(timeout, waiting->wait());
    if (!outcome.value_or(false)) co_return false;
    co_await sleepFor(std::chrono::milliseconds(60));
    co_return true;
  }

  Task<std::optional<QString>> selectionString() override {
    co_await reading();
    co_return selection;
  }
  bool writeSelection(const std::optional<QString>& text) override {
    if (!canWrite) return false;
    selection = text;
    isSelectionOurs_ = text.has_value();
    if (text) writes.push_back({*text, false, true});
    return true;
  }
  bool ownsSelection() const override { return isSelectionOurs_; }

  // --- the test's side
  std::optional<QString> plainText() const {
    for (const auto& item : contents)
      for (const QString& type : item.types)
        if (type.startsWith("text/plain") || type == "UTF8_STRING") return QString::fromUtf8(item.data.value(type));
    return std::nullopt;
  }
  // Another program fetches what is on the clipboard.
  void fetch() {
    wasFetched_ = true;
    settle(true);
  }
  // Another program fetches the text and takes the clipboard over with it.
  void fetchAndTakeOver() {
    fetch();
    become(contents, false);
  }
  // Another program copies something.
  void copyElsewhere(const ClipboardItems& items) { become(items, false); }
  void copyElsewhere(const QString& text) {
    ClipboardItemData item;
    put(item, "text/plain", text.toUtf8());
    become({item}, false);
  }
  void selectElsewhere(const std::optional<QString>& text) {
    selection = text;
    isSelectionOurs_ = false;
    if (!isOurs_) settle(false);
  }

 private:
  Task<void> reading() const {
    const Duration time = readTakes;
    if (time > Duration::zero()) co_await sleepFor(time);
    co_await throwIfCancelled();
  }
  static void put(ClipboardItemData& item, const char* type, const QByteArray& bytes) {
    item.types.append(QString::fromLatin1(type));
    item.data.insert(QString::fromLatin1(type), bytes);
  }
  void become(const ClipboardItems& items, bool isOurs) {
    contents = items;
    isOurs_ = isOurs && !items.empty();
    if (isOurs) wasFetched_ = false;
    ++changeCount_;
    if (isOurs || !isSelectionOurs_) settle(false);
  }
  void settle(bool isFetched) {
    for (const auto& waiting : std::exchange(waiting_, {})) waiting->resolve(isFetched);
  }

  quint64 changeCount_ = 0;
  bool isOurs_ = false;
  bool isSelectionOurs_ = false;
  bool wasFetched_ = false;
  std::vector<std::shared_ptr<Completion<bool>>> waiting_;
};

}  // namespace quillmere
