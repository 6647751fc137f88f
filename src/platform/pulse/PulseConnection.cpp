#include "platform/pulse/PulseConnection.h"

#include <pulse/context.h>
#include <pulse/error.h>
#include <pulse/proplist.h>
#include <pulse/subscribe.h>

#include "base/async/Combinators.h"
#include "platform/pulse/PulseReply.h"

namespace quillmere {

PulseConnection::Options PulseConnection::Options::fromEnvironment() {
  Options options;
  options.mayStartServer = qEnvironmentVariable("QUILLMERE_SOUND_SERVER_AUTOSTART") != QStringLiteral("0");
  return options;
}

PulseConnection::PulseConnection(Executor& executor, const Logging& logging, Options options)
    : executor_(executor),
      log_(logging.logger(QStringLiteral("SoundServer"))),
      options_(std::move(options)),
      pause_(options_.firstPause) {
  assertCurrent(executor_);
  connect();
}

PulseConnection::~PulseConnection() {
  if (timer_) executor_.cancelTimer(timer_);
  thread_.stop();
  alive_.reset();
  dropContext();
}

void PulseConnection::connect() {
  if (timer_) executor_.cancelTimer(std::exchange(timer_, 0));
  const quint64 attempt = ++attempt_;
  timer_ = executor_.startTimer(options_.attemptLimit, [this, attempt] {
    timer_ = 0;
    thread_.run([this] { dropContext(); });
    attemptEnded(attempt, false, PA_ERR_TIMEOUT);
  });
  thread_.run([this, attempt] { openContext(attempt); });
  setState(State::connecting);
}

void PulseConnection::setState(State state) {
  if (state == state_) return;
  state_ = state;
  stateObservers_.tell(state);
}

void PulseConnection::attemptEnded(quint64 attempt, bool isReady, int error) {
  if (attempt != attempt_) return;
  if (timer_) executor_.cancelTimer(std::exchange(timer_, 0));
  lastError_ = error;
  if (isReady) {
    log_.info("Connected to the sound server");
    pause_ = options_.firstPause;
    isAccessDenied_ = false;
  } else {
    log_.warning("No connection to the sound server: %{public}s", pa_strerror(error));
    if (error == PA_ERR_ACCESS) isAccessDenied_ = true;
    ++attempt_;  // what the old context still says does not count
    timer_ = executor_.startTimer(pause_, [this] {
      timer_ = 0;
      connect();
    });
    pause_ = std::min(pause_ * 2, options_.longestPause);
  }
  for (auto& waiter : std::exchange(waiters_, {})) waiter.resolve(isReady);
  setState(isReady ? State::ready : State::unavailable);
}

void PulseConnection::retryNow() {
  if (state_ == State::unavailable) connect();
}

Task<bool> PulseConnection::waitUntilReady(Duration limit) {
  if (state_ == State::ready) co_return true;
  retryNow();
  waiters_.emplace_back();
  const std::optional<bool> isReady = co_await withTimeout(limit, waiters_.back().wait());
  co_return isReady.value_or(false);
}

Subscription PulseConnection::observeState(std::function<void(State)> observer) {
  return stateObservers_.add(std::move(observer));
}

Subscription PulseConnection::observeServer(std::function<void()> observer) {
  return serverObservers_.add(std::move(observer));
}

void PulseConnection::run(std::function<void(pa_context*)> work) {
  thread_.run([this, work = std::move(work)] { work(isContextReady_ ? context_ : nullptr); });
}

Task<int> PulseConnection::request(std::function<pa_operation*(pa_context*, SuccessCallback, void*)> start,
                                   Duration limit) {
  Completion<int> completion;
  Executor* const executor = &executor_;
  run([start = std::move(start), completion, executor](pa_context* context) {
    auto reply = std::make_unique<PulseReply<int>>();
    reply->value = PA_ERR_CONNECTIONTERMINATED;
    reply->done = [completion, executor](int error) {
      executor->post([completion, error]() mutable { completion.resolve(error); });
    };
    pa_operation* const operation = context ? start(
                                                  context,
                                                  [](pa_context* c, int isDone, void* data) {
                                                    static_cast<PulseReply<int>*>(data)->value =
                                                        isDone ? 0 : pa_context_errno(c);
                                                  },
                                                  reply.get())
                                            : nullptr;
    if (context && !operation) reply->value = pa_context_errno(context);
    PulseReply<int>::follow(operation, std::move(reply));
  });
  const std::optional<int> error = co_await withTimeout(limit, completion.wait());
  co_return error.value_or(PA_ERR_TIMEOUT);
}

void PulseConnection::openContext(quint64 attempt) {
  dropContext();
  contextAttempt_ = attempt;
  pa_proplist* const properties = pa_proplist_new();
  pa_proplist_sets(properties, PA_PROP_APPLICATION_NAME, "Quillmere");
  pa_proplist_sets(properties, PA_PROP_APPLICATION_ID, "quillmere");
  pa_proplist_sets(properties, PA_PROP_APPLICATION_ICON_NAME, "quillmere");
  context_ = pa_context_new_with_proplist(thread_.api(), nullptr, properties);
  pa_proplist_free(properties);
  pa_context_set_state_callback(
      context_, [](pa_context*, void* self) { static_cast<PulseConnection*>(self)->contextChanged(); }, this);
  const QByteArray server = options_.server.toUtf8();
  const auto flags = options_.mayStartServer ? PA_CONTEXT_NOFLAGS : PA_CONTEXT_NOAUTOSPAWN;
  if (pa_context_connect(context_, server.isEmpty() ? nullptr : server.constData(), flags, nullptr) < 0) {
    const int error = pa_context_errno(context_);
    post([this, attempt, error] { attemptEnded(attempt, false, error); });
  }
}

void PulseConnection::dropContext() {
  isContextReady_ = false;
  if (!context_) return;
  pa_context_set_state_callback(context_, nullptr, nullptr);
  pa_context_set_subscribe_callback(context_, nullptr, nullptr);
  pa_context_disconnect(context_);  // ends the streams and operations, with their callbacks
  pa_context_unref(std::exchange(context_, nullptr));
}

void PulseConnection::contextChanged() {
  const pa_context_state_t state = pa_context_get_state(context_);
  isContextReady_ = state == PA_CONTEXT_READY;
  const quint64 attempt = contextAttempt_;
  if (isContextReady_) {
    pa_context_set_subscribe_callback(
        context_,
        [](pa_context*, pa_subscription_event_type_t, uint32_t, void* data) {
          auto* const self = static_cast<PulseConnection*>(data);
          if (std::exchange(self->isChangePosted_, true)) return;
          // The bundle ends with this turn of the library's loop: what is queued after it comes first.
          self->thread_.run([self] {
            self->isChangePosted_ = false;
            self->post([self] { self->serverObservers_.tell(); });
          });
        },
        this);
    const auto mask = static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SOURCE | PA_SUBSCRIPTION_MASK_SERVER);
    if (pa_operation* const operation = pa_context_subscribe(context_, mask, nullptr, nullptr))
      pa_operation_unref(operation);
    post([this, attempt] { attemptEnded(attempt, true, 0); });
  } else if (!PA_CONTEXT_IS_GOOD(state)) {
    const int error = pa_context_errno(context_);
    post([this, attempt, error] { attemptEnded(attempt, false, error); });
  }
}

void PulseConnection::post(std::function<void()> function) {
  executor_.post([alive = std::weak_ptr<int>(alive_), function = std::move(function)] {
    if (!alive.expired()) function();
  });
}

}  // namespace quillmere
