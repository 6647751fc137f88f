#pragma once
#include <csignal>

#include "base/async/Async.h"
#include "ports/ChildProcess.h"

namespace quillmere {

// A program that the test plays.
class FakeChildProcess final : public ChildProcess {
 public:
  FakeChildProcess(ChildProcessRequest made, int number, bool isStubbornOne)
      : request(std::move(made)), isStubborn(isStubbornOne), processId_(number) {}

  void write(const QString& line, ChildProcessRequest::Output output = ChildProcessRequest::Output::standardOutput) {
    if (request.onLine) request.onLine(output, line);
  }
  void end(ChildProcessExit how) {
    if (exit_) return;
    exit_ = how;
    for (auto& waiter : waiters_) waiter.resolve();
  }

  qint64 processId() const override { return processId_; }
  std::optional<ChildProcessExit> exit() const override { return exit_; }
  Task<ChildProcessExit> waitForExit() override {
    if (!exit_) {
      waiters_.emplace_back();
      co_await waiters_.back().wait();
    }
    co_return *exit_;
  }
  Task<ChildProcessExit> terminate(Duration grace) override {
    if (isStubborn && !exit_) co_await sleepFor(grace);
    end({0, isStubborn ? SIGKILL : SIGTERM});
    co_return *exit_;
  }

  const ChildProcessRequest request;
  const bool isStubborn;  // does not end when it is asked to

 private:
  const int processId_;
  std::optional<ChildProcessExit> exit_;
  std::vector<Completion<>> waiters_;
};

class FakeChildProcessFactory final : public ChildProcessFactory {
 public:
  std::optional<PlatformError> startError;
  bool areStubborn = false;
  std::function<void(FakeChildProcess&)> onStart;  // a later turn of the loop
  std::vector<ChildProcessRequest> requests;

  Task<Result<std::unique_ptr<ChildProcess>, PlatformError>> start(ChildProcessRequest request) override {
    requests.push_back(request);
    co_await yieldNow();
    if (startError) co_return Failed{*startError};
    auto process = std::make_unique<FakeChildProcess>(std::move(request), 1000 + int(requests.size()), areStubborn);
    if (onStart) onStart(*process);
    co_return std::unique_ptr<ChildProcess>(std::move(process));
  }
};

}  // namespace quillmere
