#pragma once
#include "base/async/Await.h"
#include "ports/MicrophoneAuthorization.h"

namespace quillmere {

class FakeMicrophoneAuthorization final : public MicrophoneAuthorization {
 public:
  Status current = Status::authorized;
  bool grants = true;
  Duration questionTakes{0};  // until the user has answered
  int questions = 0;

  Status status() const override { return current; }
  Task<bool> requestAccess() override {
    ++questions;
    if (questionTakes > Duration::zero()) co_await sleepFor(questionTakes);
    current = grants ? Status::authorized : Status::denied;
    co_return grants;
  }
};

}  // namespace quillmere
