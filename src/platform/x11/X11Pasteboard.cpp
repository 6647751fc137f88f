#include "platform/x11/X11Pasteboard.h"

#include <vector>

#include "platform/x11/X11SelectionThread.h"

namespace quillmere {
namespace {

using Selection = X11SelectionThread::Selection;
constexpr std::chrono::milliseconds secondFetch{60};

}  // namespace

// Main thread; kept alive by what the other thread posts.
struct X11Pasteboard::Fetches {
  quint64 expectation = 0;
  bool isFetched = false;
  bool isLost = false;
  std::vector<Completion<bool>> waiting;

  void settle(bool isFetchedNow) {
    for (auto& one : std::exchange(waiting, {})) one.resolve(isFetchedNow);
  }
  bool begin(quint64 number) {
    if (number == 0) return false;
    expectation = number;
    isFetched = isLost = false;
    settle(false);
    return true;
  }
};

Result<std::unique_ptr<X11Pasteboard>, PlatformError> X11Pasteboard::open(Executor& executor,
                                                                          const QString& displayName) {
  const auto fetches = std::make_shared<Fetches>();
  const auto onEvent = [&executor, fetches](X11SelectionThread::Event event) {
    executor.post([fetches, event] {
      // News of what was replaced meanwhile.
      if (event.expectation < fetches->expectation) return;
      const bool isFetched = event.kind == X11SelectionThread::Event::Kind::fetched;
      fetches->isFetched = fetches->isFetched || isFetched;
      fetches->isLost = fetches->isLost || !isFetched;
      fetches->settle(isFetched);
    });
  };
  TRY(auto thread, X11SelectionThread::start(displayName, onEvent));
  return std::unique_ptr<X11Pasteboard>(new X11Pasteboard(executor, std::move(thread), fetches));
}

X11Pasteboard::X11Pasteboard(Executor& executor, std::unique_ptr<X11SelectionThread> thread,
                             std::shared_ptr<Fetches> fetches)
    : executor_(executor), fetches_(std::move(fetches)), thread_(std::move(thread)) {
  assertCurrent(executor_);
}

X11Pasteboard::~X11Pasteboard() = default;

Task<ClipboardItems> X11Pasteboard::items() {
  Completion<ClipboardItems> reading;
  executor_.externalWorkStarted();
  thread_->readItems(Selection::clipboard, [reading, &executor = executor_](ClipboardItems items) {
    executor.post([reading, &executor, items = std::move(items)]() mutable {
      executor.externalWorkEnded();
      reading.resolve(std::move(items));
    });
  });
  co_return co_await reading.wait();
}

Task<std::optional<QString>> X11Pasteboard::string() {
  return readText(int(Selection::clipboard));
}

Task<std::optional<QString>> X11Pasteboard::selectionString() {
  return readText(int(Selection::primary));
}

Task<std::optional<QString>> X11Pasteboard::readText(int selection) {
  Completion<std::optional<QString>> reading;
  executor_.externalWorkStarted();
  thread_->readText(Selection(selection), [reading, &executor = executor_](std::optional<QString> text) {
    executor.post([reading, &executor, text = std::move(text)]() mutable {
      executor.externalWorkEnded();
      reading.resolve(std::move(text));
    });
  });
  co_return co_await reading.wait();
}

quint64 X11Pasteboard::changeCount() const {
  return thread_->changeCount();
}

bool X11Pasteboard::writeText(const QString& text, bool isConcealed) {
  assertCurrent(executor_);
  return fetches_->begin(thread_->offerText(Selection::clipboard, text, isConcealed));
}

bool X11Pasteboard::write(const ClipboardItems& items) {
  assertCurrent(executor_);
  // X knows one item; several are offered as the types of all.
  ClipboardItemData all;
  for (const auto& item : items) {
    for (const QString& type : item.types) {
      if (!item.data.contains(type) || all.data.contains(type)) continue;
      all.types.append(type);
      all.data.insert(type, item.data.value(type));
    }
  }
  return fetches_->begin(all.types.isEmpty() ? thread_->clear(Selection::clipboard)
                                             : thread_->offerItem(Selection::clipboard, all));
}

bool X11Pasteboard::ownsContents() const {
  return thread_->owns(Selection::clipboard);
}

void X11Pasteboard::expectFetch() {
  fetches_->begin(thread_->expectFetch());
}

bool X11Pasteboard::wasFetched() const {
  return fetches_->isFetched;
}

Task<bool> X11Pasteboard::waitForFetch(Duration timeout) {
  const auto fetches = fetches_;
  Completion<bool> fetch;
  if (fetches->isFetched)
    fetch.resolve(true);
  else if (fetches->isLost)
    fetch.resolve(false);
  else
    fetches->waiting.push_back(fetch);
  const std::optional<bool> isFetched = co_await withTimeout(timeout, fetch.wait());
  if (!isFetched.value_or(false)) co_return false;
  co_await sleepFor(secondFetch);
  co_return true;
}

bool X11Pasteboard::writeSelection(const std::optional<QString>& text) {
  return fetches_->begin(text ? thread_->offerText(Selection::primary, *text, false)
                              : thread_->clear(Selection::primary));
}

bool X11Pasteboard::ownsSelection() const {
  return thread_->owns(Selection::primary);
}

}  // namespace quillmere
