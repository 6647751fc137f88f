#pragma once
#include <QMap>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>

#include "base/Result.h"
#include "base/async/Executor.h"
#include "base/async/Task.h"
#include "domain/Errors.h"

namespace quillmere {

// How a process ended: its code, or the signal that killed it.
struct ChildProcessExit {
  int code = 0;
  int signal = 0;  // 0: it ended by itself
  bool operator==(const ChildProcessExit&) const = default;
};

struct ChildProcessRequest {
  enum class Output { standardOutput, standardError };

  QString program;  // a path, or a name that is looked for in PATH
  QStringList arguments;
  QMap<QString, QString> environment;  // on top of this process's own
  QString workingFolder;               // empty: this process's own
  int niceness = 0;                    // added to this process's own
  // Every line that it writes, without its end, in the order of one output; the last one also without an end. A line
  // longer than 64 KiB comes in pieces. Bytes that are no UTF-8 are replaced. Must not destroy the process object.
  std::function<void(Output, const QString&)> onLine;
};

// A running program that ends with this process, however that ends, kill -9 included. It has a process group of its own
// (a Ctrl+C in the terminal does not reach it), reads nothing, and inherits no open file. Main thread. Destroying the
// object kills the group. What the program starts itself is ended by terminate() and the destructor only.
class ChildProcess {
 public:
  virtual ~ChildProcess() = default;
  virtual qint64 processId() const = 0;
  // None while it runs.
  virtual std::optional<ChildProcessExit> exit() const = 0;
  // Returns when the program has ended and all its lines were told. Any number of waits. A cancel leaves the program
  // alone.
  virtual Task<ChildProcessExit> waitForExit() = 0;
  // Asks the group to end, and kills it when the grace is over. A cancel kills at once.
  virtual Task<ChildProcessExit> terminate(Duration grace) = 0;
};

class ChildProcessFactory {
 public:
  virtual ~ChildProcessFactory() = default;
  // Returns when the program runs. An error's domain is "process", its description a clear sentence. A cancel kills.
  virtual Task<Result<std::unique_ptr<ChildProcess>, PlatformError>> start(ChildProcessRequest request) = 0;
};

}  // namespace quillmere
