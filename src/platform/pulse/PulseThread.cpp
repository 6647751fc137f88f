#include "platform/pulse/PulseThread.h"

#include <pulse/mainloop-api.h>
#include <pulse/thread-mainloop.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace quillmere {

PulseThread::PulseThread() {
  wakeFd_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (wakeFd_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  loop_ = pa_threaded_mainloop_new();
  if (!loop_) throw std::system_error(EMFILE, std::generic_category(), "the sound loop could not be made");
  pa_threaded_mainloop_set_name(loop_, "sound");
  api_ = pa_threaded_mainloop_get_api(loop_);
  const auto woken = [](pa_mainloop_api*, pa_io_event*, int, pa_io_event_flags_t, void* self) {
    static_cast<PulseThread*>(self)->runPosted();
  };
  wakeEvent_ = api_->io_new(api_, wakeFd_, PA_IO_EVENT_INPUT, woken, this);
  pa_threaded_mainloop_start(loop_);
}

PulseThread::~PulseThread() {
  if (!isStopped_) stop();
  api_->io_free(wakeEvent_);
  pa_threaded_mainloop_free(loop_);
  ::close(wakeFd_);
}

void PulseThread::run(std::function<void()> work) {
  const std::lock_guard lock(mutex_);
  posted_.push_back(std::move(work));
  if (posted_.size() > 1) return;
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto size = ::write(wakeFd_, &one, sizeof one);
}

void PulseThread::stop() {
  isStopped_ = true;
  pa_threaded_mainloop_stop(loop_);
}

void PulseThread::runPosted() {
  std::vector<std::function<void()>> posted;
  {
    const std::lock_guard lock(mutex_);
    posted.swap(posted_);
    std::uint64_t count = 0;
    [[maybe_unused]] const auto size = ::read(wakeFd_, &count, sizeof count);
  }
  for (const auto& work : posted) work();
}

}  // namespace quillmere
