#pragma once
#include <QString>
#include <memory>

namespace quillmere {

// Locks by name among the processes that share the user's data. The system takes them from a process that ends, however
// it ends. Main thread; nothing waits.
class ProcessLocks {
 public:
  class Lock {
   public:
    virtual ~Lock() = default;  // gives the lock back
  };

  virtual ~ProcessLocks() = default;
  // Null where somebody, this process included, has it, or where the platform can't give one. `name`: letters, digits
  // and dashes.
  [[nodiscard]] virtual std::unique_ptr<Lock> take(const QString& name) = 0;
  // Whether a living process, this one included, has it.
  virtual bool isTaken(const QString& name) const = 0;
};

}  // namespace quillmere
