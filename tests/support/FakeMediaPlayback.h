#pragma once
#include "base/async/Await.h"
#include "ports/MediaPlayback.h"

namespace quillmere {

class FakeMediaPlayback final : public MediaPlayback {
 public:
  int playing = 1;  // players that play
  int paused = 0;   // of those, paused by us
  Duration takes = Duration::zero();

  void startListening() override {}
  Task<int> pause() override {
    if (takes > Duration::zero()) co_await sleepFor(takes);
    paused += playing;
    co_return std::exchange(playing, 0);
  }
  Task<void> play() override {
    if (takes > Duration::zero()) co_await sleepFor(takes);
    playing += paused;
    paused = 0;
  }
};

}  // namespace quillmere
