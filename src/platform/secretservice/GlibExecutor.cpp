#include "platform/secretservice/GlibExecutor.h"

#include <glib.h>
#include <pthread.h>

namespace quillmere {
namespace {

constexpr std::chrono::milliseconds endLimit{100};

}  // namespace

struct GlibExecutor::Timer {
  GlibExecutor& executor;
  const TimerId id;
  const std::function<void()> function;
};

GlibExecutor::GlibExecutor() : context_(g_main_context_new()), loop_(g_main_loop_new(context_, FALSE)) {
  thread_ = std::thread([this] {
    pthread_setname_np(pthread_self(), "keyring");
    g_main_context_push_thread_default(context_);
    g_main_loop_run(loop_);
    g_main_context_pop_thread_default(context_);
  });
}

GlibExecutor::~GlibExecutor() {
  g_main_loop_unref(loop_);
  g_main_context_unref(context_);  // drops what was posted
}

bool GlibExecutor::isCurrent() const {
  return g_main_context_is_owner(context_) != FALSE;
}

void GlibExecutor::stop(std::function<void()> last, const std::function<bool()>& isBusy) {
  post([this, last = std::move(last), isBusy] {
    last();
    // What GLib's objects give back when they go is freed in a later turn.
    const TimePoint limit = now() + endLimit;
    while (g_main_context_iteration(context_, FALSE) || (isBusy() && now() < limit)) g_usleep(isBusy() ? 1000 : 0);
    g_main_loop_quit(loop_);
  });
  thread_.join();
}

void GlibExecutor::post(std::function<void()> function) {
  const std::lock_guard lock(mutex_);
  posted_.push_back(std::move(function));
  if (posted_.size() > 1) return;  // the source runs until nothing is left
  GSource* const source = g_idle_source_new();
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  const auto run = [](gpointer self) -> gboolean { return static_cast<GlibExecutor*>(self)->runOnePosted(); };
  g_source_set_callback(source, run, this, nullptr);
  g_source_attach(source, context_);
  g_source_unref(source);
}

bool GlibExecutor::runOnePosted() {
  std::function<void()> function;
  {
    const std::lock_guard lock(mutex_);
    function = std::move(posted_.front());
  }
  function();
  function = nullptr;
  const std::lock_guard lock(mutex_);
  posted_.pop_front();
  return !posted_.empty();
}

Executor::TimerId GlibExecutor::startTimer(Duration delay, std::function<void()> function) {
  const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(std::max(delay, Duration::zero()));
  GSource* const source = g_timeout_source_new(guint(milliseconds.count()));
  const TimerId id = ++lastTimer_;
  const auto run = [](gpointer data) -> gboolean {
    const auto& timer = *static_cast<Timer*>(data);
    const auto due = timer.function;
    timer.executor.cancelTimer(timer.id);
    due();
    return G_SOURCE_REMOVE;
  };
  const auto drop = [](gpointer data) { delete static_cast<Timer*>(data); };
  g_source_set_callback(source, run, new Timer{*this, id, std::move(function)}, drop);
  g_source_attach(source, context_);
  timers_[id] = source;
  return id;
}

void GlibExecutor::cancelTimer(TimerId id) {
  const auto found = timers_.find(id);
  if (found == timers_.end()) return;
  g_source_destroy(found->second);
  g_source_unref(found->second);
  timers_.erase(found);
}

}  // namespace quillmere
