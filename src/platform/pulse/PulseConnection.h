#pragma once
#include <QString>
#include <functional>
#include <memory>
#include <vector>

#include "base/Subscription.h"
#include "base/async/Completion.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "platform/pulse/Observers.h"
#include "platform/pulse/PulseThread.h"

struct pa_context;
struct pa_operation;

namespace quillmere {

// The application's one connection to the sound server (PulseAudio or PipeWire's stand-in for it). Connects at once and
// again, with growing pauses, whenever the server went away. Main thread, but run() from any; outlives every adapter of
// this room. Never blocks: libpulse works on a thread of its own, what it says is posted to the executor.
class PulseConnection {
 public:
  enum class State { connecting, ready, unavailable };  // unavailable: waits before the next attempt
  struct Options {
    QString server;              // empty: the user's
    bool mayStartServer = true;  // lets libpulse start the user's daemon where none runs
    Duration firstPause = std::chrono::milliseconds(250);
    Duration longestPause = std::chrono::seconds(8);
    Duration attemptLimit = std::chrono::seconds(5);
    // QUILLMERE_SOUND_SERVER_AUTOSTART=0 keeps libpulse from starting a daemon.
    static Options fromEnvironment();
  };

  PulseConnection(Executor& executor, const Logging& logging, Options options = Options::fromEnvironment());
  PulseConnection(const PulseConnection&) = delete;
  PulseConnection& operator=(const PulseConnection&) = delete;
  ~PulseConnection();

  State state() const { return state_; }
  // libpulse's number for why the last attempt or connection ended; 0 while connected.
  int lastError() const { return lastError_; }
  // Whether the server refused this process, at the connection or at a stream (see noteAccess).
  bool isAccessDenied() const { return isAccessDenied_; }
  void noteAccess(bool isGranted) { isAccessDenied_ = !isGranted; }
  // Tries now instead of after the pause.
  void retryNow();
  // True once connected; false when an attempt failed or the time is up. Ends a pause.
  Task<bool> waitUntilReady(Duration limit);
  [[nodiscard]] Subscription observeState(std::function<void(State)> observer);
  // Called, bundled, when the server told of a change of its devices or defaults.
  [[nodiscard]] Subscription observeServer(std::function<void()> observer);

  // Any thread: `work` runs on the library's thread with the context, null where the server is not connected.
  void run(std::function<void(pa_context*)> work);
  // Starts an operation that ends in a success callback: `start(context, callback, userdata)`. 0 when the server did
  // it, else libpulse's error number.
  using SuccessCallback = void (*)(pa_context*, int, void*);
  Task<int> request(std::function<pa_operation*(pa_context*, SuccessCallback, void*)> start, Duration limit);

  // For timers of the library's thread.
  pa_mainloop_api* api() const { return thread_.api(); }
  Executor& executor() const { return executor_; }
  const Logger& log() const { return log_; }

 private:
  void connect();
  void setState(State state);
  void attemptEnded(quint64 attempt, bool isReady, int error);

  // On the library's thread.
  void openContext(quint64 attempt);
  void dropContext();
  void contextChanged();
  void post(std::function<void()> function);

  Executor& executor_;
  const Logger log_;
  const Options options_;
  State state_ = State::connecting;
  int lastError_ = 0;
  bool isAccessDenied_ = false;
  quint64 attempt_ = 0;
  Duration pause_;
  Executor::TimerId timer_ = 0;
  std::vector<Completion<bool>> waiters_;
  Observers<State> stateObservers_;
  Observers<> serverObservers_;
  std::shared_ptr<int> alive_ = std::make_shared<int>();

  // The library's thread only.
  pa_context* context_ = nullptr;
  quint64 contextAttempt_ = 0;
  bool isContextReady_ = false;
  bool isChangePosted_ = false;

  PulseThread thread_;
};

}  // namespace quillmere
