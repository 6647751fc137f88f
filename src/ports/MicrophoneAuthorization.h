#pragma once
#include "base/async/Task.h"

namespace quillmere {

// Whether this process may use a microphone. Main thread.
class MicrophoneAuthorization {
 public:
  enum class Status { notDetermined, restricted, denied, authorized, unknown };
  virtual ~MicrophoneAuthorization() = default;
  virtual Status status() const = 0;
  // Asks the user or the platform anew, also after a refusal; true when access was granted.
  virtual Task<bool> requestAccess() = 0;
};

}  // namespace quillmere
