#pragma once
#include "ports/MicrophoneAuthorization.h"

namespace quillmere {

class FakeMicrophoneAuthorization final : public MicrophoneAuthorization {
 public:
  Status current = Status::authorized;
  bool grants = true;
  int questions = 0;

  Status status() const override { return current; }
  Task<bool> requestAccess() override {
    ++questions;
    current = grants ? Status::authorized : Status::denied;
    co_return grants;
  }
};

}  // namespace quillmere
