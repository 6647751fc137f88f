#pragma once
#include <atomic>

namespace quillmere {

// Tells work on another thread that nobody wants it any more. Any thread.
class StopFlag {
 public:
  StopFlag() = default;
  StopFlag(const StopFlag&) = delete;
  StopFlag& operator=(const StopFlag&) = delete;
  bool isSet() const { return flag_.load(std::memory_order_acquire); }
  void set() { flag_.store(true, std::memory_order_release); }
  // For libraries that look at a flag themselves.
  const std::atomic<bool>& atomic() const { return flag_; }

 private:
  std::atomic<bool> flag_{false};
};

}  // namespace quillmere
