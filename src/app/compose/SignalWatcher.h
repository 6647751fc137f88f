#pragma once
#include <functional>
#include <memory>

class QSocketNotifier;

namespace quillmere {

// Turns signals into calls on the main thread's event loop: SIGINT, by which a user takes back what was asked, into
// `onInterrupt`; SIGTERM and SIGHUP, by which something else ends the program, into `onEnd`, or `onInterrupt` where
// there is none. The second signal ends the process at once with the shell's number for an interrupted command. One at
// a time; restores the former handlers when it goes.
class SignalWatcher {
 public:
  explicit SignalWatcher(std::function<void()> onInterrupt, std::function<void()> onEnd = {});
  ~SignalWatcher();

 private:
  std::function<void()> onInterrupt_;
  std::function<void()> onEnd_;
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace quillmere
