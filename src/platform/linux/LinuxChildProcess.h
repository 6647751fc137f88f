#pragma once
#include <QProcess>

#include "base/async/Completion.h"
#include "ports/ChildProcess.h"

namespace quillmere {

// A program through QProcess. The kernel kills it when the thread that started it ends: the main thread.
class LinuxChildProcess final : public ChildProcess {
 public:
  explicit LinuxChildProcess(ChildProcessRequest request);
  LinuxChildProcess(const LinuxChildProcess&) = delete;
  LinuxChildProcess& operator=(const LinuxChildProcess&) = delete;
  ~LinuxChildProcess() override;

  // Once.
  Task<Result<void, PlatformError>> start();
  qint64 processId() const override { return processId_; }
  std::optional<ChildProcessExit> exit() const override { return exit_; }
  Task<ChildProcessExit> waitForExit() override;
  Task<ChildProcessExit> terminate(Duration grace) override;

 private:
  using Output = ChildProcessRequest::Output;
  void readLines(Output output);
  void tell(Output output, QByteArray& line);
  void signalGroup(int number);
  void ended(int code, QProcess::ExitStatus status);

  const ChildProcessRequest request_;
  qint64 processId_ = 0;
  std::optional<ChildProcessExit> exit_;
  QByteArray unfinishedLines_[2];  // by output
  Completion<Result<void, PlatformError>> started_;
  std::vector<Completion<>> waiters_;
  QObject context_;
  QProcess process_;
};

class LinuxChildProcessFactory final : public ChildProcessFactory {
 public:
  Task<Result<std::unique_ptr<ChildProcess>, PlatformError>> start(ChildProcessRequest request) override;
};

}  // namespace quillmere
