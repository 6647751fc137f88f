#pragma once
#include "ports/KeyInterceptor.h"

namespace quillmere {

// Stands behind the port where there is no display. Recording and transcribing work without one.
class AbsentKeyInterceptor final : public KeyInterceptor {
 public:
  bool start(std::function<void()>, std::function<void()>) override { return false; }
  void stop() override {}
};

}  // namespace quillmere
