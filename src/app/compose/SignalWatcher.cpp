#include "app/compose/SignalWatcher.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <array>
#include <atomic>

#include "app/compose/ExitCode.h"

namespace quillmere {
namespace {

constexpr std::array signalNumbers{SIGINT, SIGTERM, SIGHUP};
int pipeEnds[2] = {-1, -1};
std::atomic<int> seen{0};
struct sigaction former[signalNumbers.size()];

void handle(int number) {
  if (seen.fetch_add(1) > 0) _exit(exitCancelled);
  const char byte = char(number);
  [[maybe_unused]] const ssize_t ignored = write(pipeEnds[1], &byte, 1);
}

}  // namespace

SignalWatcher::SignalWatcher(std::function<void()> onInterrupt, std::function<void()> onEnd)
    : onInterrupt_(std::move(onInterrupt)), onEnd_(std::move(onEnd)) {
  if (pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) != 0) return;
  notifier_ = std::make_unique<QSocketNotifier>(pipeEnds[0], QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] {
    char byte = 0;
    if (read(pipeEnds[0], &byte, 1) != 1) return;
    const auto& callback = byte == SIGINT || !onEnd_ ? onInterrupt_ : onEnd_;
    if (callback) callback();
  });
  struct sigaction action {};
  action.sa_handler = handle;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  for (size_t i = 0; i < signalNumbers.size(); ++i) sigaction(signalNumbers[i], &action, &former[i]);
}

SignalWatcher::~SignalWatcher() {
  if (!notifier_) return;
  for (size_t i = 0; i < signalNumbers.size(); ++i) sigaction(signalNumbers[i], &former[i], nullptr);
  notifier_.reset();
  close(pipeEnds[0]);
  close(pipeEnds[1]);
  pipeEnds[0] = pipeEnds[1] = -1;
  seen = 0;
}

}  // namespace quillmere
