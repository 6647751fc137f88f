#pragma once
#include <QEventLoop>
#include <QTimer>

#include "base/async/Task.h"
#include "support/ManualExecutor.h"

namespace quillmere {
namespace detail {

// Ends the strand when the test function is left early.
class StrandGuard {
 public:
  explicit StrandGuard(std::shared_ptr<Strand> strand) : strand_(std::move(strand)) {}
  StrandGuard(const StrandGuard&) = delete;
  StrandGuard& operator=(const StrandGuard&) = delete;
  ~StrandGuard() { strand_->kill(); }

 private:
  std::shared_ptr<Strand> strand_;
};

}  // namespace detail

// Runs the task to its end and returns its value or throws what ended it. The clock jumps to the next timer whenever
// only timers are left. Throws std::logic_error when the task waits for something that never comes.
template <typename T>
T runTask(ManualExecutor& executor, Task<T> task) {
  auto strand = std::make_shared<detail::StrandOf<T>>(executor, std::move(task));
  const detail::StrandGuard guard(strand);
  strand->claim();
  strand->start();
  executor.runUntil([&] { return strand->isOver(); });
  return strand->outcome().take();
}

// The same on an executor that lives in Qt's event loop, in real time; gives up after two minutes.
template <typename T>
T runTaskInLoop(Executor& executor, Task<T> task) {
  auto strand = std::make_shared<detail::StrandOf<T>>(executor, std::move(task));
  const detail::StrandGuard guard(strand);
  strand->claim();
  QEventLoop loop;
  strand->setOnOver([&] { loop.quit(); });
  QTimer::singleShot(std::chrono::minutes(2), &loop, [&] { loop.quit(); });
  strand->start();
  loop.exec();
  strand->setOnOver(nullptr);
  if (!strand->isOver()) throw std::logic_error("the task does not end within two minutes");
  return strand->outcome().take();
}

}  // namespace quillmere
