#include "base/async/Combinators.h"

namespace quillmere::detail {

ChildStrands::~ChildStrands() {
  for (const auto& child : children_) child->setOnOver(nullptr);
  for (const auto& child : children_) child->kill();
}

void ChildStrands::addStrand(std::shared_ptr<Strand> strand) {
  strand->claim();
  strand->setOnOver([this, child = strand.get()] { childOver(*child); });
  children_.push_back(std::move(strand));
}

void ChildStrands::startAll() {
  running_ = children_.size();
  for (const auto& child : children_) child->start();
}

void ChildStrands::cancelAll() {
  const auto children = children_;  // a stop function may end the life of this object
  for (const auto& child : children) child->cancel();
}

Leaf::AfterStop ChildStrands::stop() noexcept {
  if (onCancel_ == OnCancel::cancelChildren) cancelAll();
  return AfterStop::resumeAtEnd;
}

void ChildStrands::childOver(const Strand& child) {
  if (!failure_) failure_ = child.failure();
  Strand* const own = --running_ == 0 ? own_ : nullptr;
  if (own)
    own->wake();
  else if (!child.hasEndedWithValue())
    cancelAll();
}

ScopedTimer::ScopedTimer(Executor& executor, Duration delay, std::function<void()> function) : executor_(executor) {
  id_ = executor.startTimer(delay, std::move(function));
}

Task<bool> endsWithin(Duration limit, ChildStrands& children) {
  Executor& executor = co_await currentExecutor();
  bool isTimedOut = false;
  ScopedTimer timer(executor, limit, [&children, &isTimedOut] {
    if (children.areOver()) return;
    isTimedOut = true;
    children.cancelAll();
  });
  co_await children;
  co_return !isTimedOut;
}

}  // namespace quillmere::detail
