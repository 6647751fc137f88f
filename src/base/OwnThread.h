#pragma once
#include <source_location>
#include <thread>

namespace quillmere {

namespace detail {
// Throws std::logic_error, which names the place of the call.
[[noreturn]] void refuseThread(const std::source_location& where);
}  // namespace detail

// The thread that an object belongs to: the one that made it. For what says "Main thread" and has no executor to ask.
class OwnThread {
 public:
  // As assertCurrent of an executor.
  void assertCurrent([[maybe_unused]] const std::source_location& where = std::source_location::current()) const {
#ifndef NDEBUG
    if (std::this_thread::get_id() != id_) detail::refuseThread(where);
#endif
  }

 private:
#ifndef NDEBUG
  std::thread::id id_ = std::this_thread::get_id();
#endif
};

}  // namespace quillmere
