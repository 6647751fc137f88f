#include "platform/linux/LinuxChildProcess.h"

#include <linux/close_range.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

#include "base/async/Combinators.h"
#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

constexpr qsizetype longestLineBytes = 64 * 1024;
constexpr int killLimitMs = 1000;

// In the child, between fork and exec: only what is allowed after the fork of a program with threads.
void prepareChild(pid_t parent, int niceness) {
  ::setpgid(0, 0);
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) ::_exit(127);  // it ended before that was said
  if (niceness != 0) ::setpriority(PRIO_PROCESS, 0, ::getpriority(PRIO_PROCESS, 0) + niceness);
  // Libraries open files without a word to the kernel, such as a recording that is locked while it grows.
  ::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
}

}  // namespace

LinuxChildProcess::LinuxChildProcess(ChildProcessRequest request) : request_(std::move(request)) {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  for (auto added = request_.environment.begin(); added != request_.environment.end(); ++added)
    environment.insert(added.key(), added.value());
  process_.setProcessEnvironment(environment);
  process_.setProgram(request_.program);
  process_.setArguments(request_.arguments);
  process_.setWorkingDirectory(request_.workingFolder);
  process_.setStandardInputFile(QProcess::nullDevice());
  process_.setChildProcessModifier(
      [parent = ::getpid(), niceness = request_.niceness] { prepareChild(parent, niceness); });
  QObject::connect(&process_, &QProcess::started, &context_, [this] {
    processId_ = process_.processId();
    started_.resolve(Result<void, PlatformError>{});
  });
  QObject::connect(&process_, &QProcess::errorOccurred, &context_, [this](QProcess::ProcessError error) {
    if (error != QProcess::FailedToStart) return;
    const QString sentence = localizedText("process.error.start", request_.program, process_.errorString());
    started_.resolve(Failed{PlatformError{QStringLiteral("process"), int(error), sentence}});
  });
  QObject::connect(&process_, &QProcess::readyReadStandardOutput, &context_,
                   [this] { readLines(Output::standardOutput); });
  QObject::connect(&process_, &QProcess::readyReadStandardError, &context_,
                   [this] { readLines(Output::standardError); });
  QObject::connect(&process_, &QProcess::finished, &context_,
                   [this](int code, QProcess::ExitStatus status) { ended(code, status); });
}

LinuxChildProcess::~LinuxChildProcess() {
  process_.disconnect(&context_);
  signalGroup(SIGKILL);
  process_.waitForFinished(killLimitMs);
}

Task<Result<void, PlatformError>> LinuxChildProcess::start() {
  process_.start(QIODevice::ReadOnly);
  co_return co_await started_.wait();
}

void LinuxChildProcess::readLines(Output output) {
  QByteArray& line = unfinishedLines_[int(output)];
  const bool isError = output == Output::standardError;
  const QByteArray bytes = isError ? process_.readAllStandardError() : process_.readAllStandardOutput();
  for (qsizetype at = 0; at < bytes.size();) {
    const qsizetype newLine = bytes.indexOf('\n', at);
    const qsizetype end = newLine < 0 ? bytes.size() : newLine;
    const qsizetype taken = std::min(end - at, longestLineBytes - line.size());
    line += bytes.sliced(at, taken);
    at += taken;
    const bool isWhole = at == newLine;
    if (isWhole) ++at;
    if (isWhole || line.size() == longestLineBytes) tell(output, line);
  }
}

void LinuxChildProcess::tell(Output output, QByteArray& line) {
  if (line.endsWith('\r')) line.chop(1);
  const QString text = QString::fromUtf8(std::exchange(line, {}));
  if (request_.onLine) request_.onLine(output, text);
}

void LinuxChildProcess::ended(int code, QProcess::ExitStatus status) {
  for (const Output output : {Output::standardOutput, Output::standardError}) {
    readLines(output);
    if (QByteArray& line = unfinishedLines_[int(output)]; !line.isEmpty()) tell(output, line);
  }
  exit_ = status == QProcess::NormalExit ? ChildProcessExit{code, 0} : ChildProcessExit{0, code};
  for (auto& waiter : std::exchange(waiters_, {})) waiter.resolve();
}

Task<ChildProcessExit> LinuxChildProcess::waitForExit() {
  if (!exit_) {
    waiters_.emplace_back();
    co_await waiters_.back().wait();
  }
  co_return *exit_;
}

Task<ChildProcessExit> LinuxChildProcess::terminate(Duration grace) {
  signalGroup(SIGTERM);
  try {
    if (const auto exit = co_await withTimeout(grace, waitForExit())) co_return *exit;
  } catch (const Cancelled&) {
    signalGroup(SIGKILL);
    throw;
  }
  signalGroup(SIGKILL);
  co_return co_await waitForExit();
}

// Only while the program was not reaped: afterwards the number may be another's.
void LinuxChildProcess::signalGroup(int number) {
  if (processId_ > 0 && process_.state() != QProcess::NotRunning) ::kill(pid_t(-processId_), number);
}

Task<Result<std::unique_ptr<ChildProcess>, PlatformError>> LinuxChildProcessFactory::start(
    ChildProcessRequest request) {
  auto process = std::make_unique<LinuxChildProcess>(std::move(request));
  CO_TRY_OK(co_await process->start());
  co_return std::unique_ptr<ChildProcess>(std::move(process));
}

}  // namespace quillmere
