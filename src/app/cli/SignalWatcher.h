#pragma once
#include <functional>
#include <memory>

class QSocketNotifier;

namespace quillmere {

// Turns SIGINT, SIGTERM and SIGHUP into calls on the main thread's event loop. The second signal ends the process at
// once with the shell's number for an interrupted command. One at a time; restores the former handlers when it goes.
class SignalWatcher {
 public:
  explicit SignalWatcher(std::function<void()> onInterrupt);
  ~SignalWatcher();

 private:
  std::function<void()> onInterrupt_;
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace quillmere
