#pragma once
#include <utility>

#include "ports/KeyInterceptor.h"

namespace quillmere {

// Return and Escape as the test presses them. Main thread.
class FakeKeyInterceptor final : public KeyInterceptor {
 public:
  bool isAllowed = true;

  bool start(std::function<void()> onReturn, std::function<void()> onEscape) override {
    stop();
    if (!isAllowed) return false;
    isRunning_ = true;
    onReturn_ = std::move(onReturn);
    onEscape_ = std::move(onEscape);
    return true;
  }
  void stop() override {
    isRunning_ = false;
    onReturn_ = nullptr;
    onEscape_ = nullptr;
  }

  bool isRunning() const { return isRunning_; }
  // False when the key goes to the focused window instead.
  bool pressReturn() { return press(onReturn_); }
  bool pressEscape() { return press(onEscape_); }

 private:
  bool press(const std::function<void()>& handler) {
    if (!isRunning_) return false;
    if (const auto function = handler) function();
    return true;
  }

  bool isRunning_ = false;
  std::function<void()> onReturn_;
  std::function<void()> onEscape_;
};

}  // namespace quillmere
