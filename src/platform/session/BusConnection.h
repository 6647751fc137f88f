#pragma once
#include <QDBusConnection>
#include <QDBusMessage>
#include <functional>
#include <optional>
#include <vector>

#include "base/async/Completion.h"
#include "base/async/TaskScope.h"
#include "base/async/WorkerPool.h"

namespace quillmere {

// A connection to a message bus that is opened away from the main thread, on first use and again after it broke.
// Main thread; needs a running Qt event loop. The pool outlives it.
class BusConnection {
 public:
  using Open = std::function<QDBusConnection()>;  // called on a worker

  BusConnection(Executor& executor, WorkerPool& workers, Open open);
  BusConnection(const BusConnection&) = delete;
  BusConnection& operator=(const BusConnection&) = delete;

  static Open sessionBus();
  static Open systemBus();

  // Nothing where there is no bus or it does not let us in within the limit.
  Task<std::optional<QDBusConnection>> get(Duration limit);
  // The reply, or nothing: an error, no bus, or no answer within the limit.
  Task<std::optional<QDBusMessage>> call(QDBusMessage message, Duration limit);
  // Sends without waiting for an answer; only where the bus is open.
  void send(const QDBusMessage& message);
  Executor& executor() const { return executor_; }

 private:
  Task<void> openNow();

  Executor& executor_;
  WorkerPool& workers_;
  Open open_;
  std::optional<QDBusConnection> connection_;
  std::vector<Completion<>> waiters_;
  TaskScope scope_;
};

}  // namespace quillmere
