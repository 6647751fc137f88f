#pragma once
#include <optional>
#include <utility>
#include <vector>

#include "ports/KeyEventMonitor.h"

namespace quillmere {

// A keyboard and a mouse whose events the test makes. Events made while nobody watches are lost. Main thread.
class FakeKeyEventMonitor final : public KeyEventMonitor {
 public:
  bool isAllowed = true;
  int startCount = 0;
  std::optional<ModifierKey> watched;     // by the last start()
  std::vector<ModifierEvent> onTheirWay;  // has happened, but comes at the next catchUp()

  bool start(ModifierKey key, std::function<void(const ModifierEvent&)> observer) override {
    ++startCount;
    watched = key;
    stop();
    if (!isAllowed) return false;
    observer_ = std::move(observer);
    return true;
  }
  void stop() override { observer_ = nullptr; }
  void catchUp() override {
    for (const ModifierEvent& event : std::exchange(onTheirWay, {})) emit(event);
  }

  bool isRunning() const { return observer_ != nullptr; }
  // The modifiers are now exactly these.
  void setFlags(unsigned flags) { emit({ModifierEvent::Kind::flagsChanged, flags_ = flags}); }
  // An ordinary key, with the modifiers as they are.
  void pressKey() { emit({ModifierEvent::Kind::keyDown, flags_}); }
  // A button of the mouse or its wheel.
  void click() { emit({ModifierEvent::Kind::buttonDown, flags_}); }

 private:
  void emit(const ModifierEvent& event) {
    if (const auto observer = observer_) observer(event);
  }

  std::function<void(const ModifierEvent&)> observer_;
  unsigned flags_ = 0;
};

}  // namespace quillmere
