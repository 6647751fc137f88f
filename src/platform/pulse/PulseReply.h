#pragma once
#include <pulse/operation.h>

#include <functional>
#include <memory>

namespace quillmere {

// What the callbacks of one operation of libpulse gather. `done` gets the value once the operation is over, also when
// the connection broke and the library will never call back. Library's thread only.
template <typename T>
struct PulseReply {
  T value{};
  std::function<void(T)> done;

  // Without an operation the reply is given at once.
  static void follow(pa_operation* operation, std::unique_ptr<PulseReply> reply) {
    if (!operation) {
      reply->done(std::move(reply->value));
      return;
    }
    pa_operation_set_state_callback(
        operation,
        [](pa_operation* changed, void* data) {
          if (pa_operation_get_state(changed) == PA_OPERATION_RUNNING) return;
          const std::unique_ptr<PulseReply> ended(static_cast<PulseReply*>(data));
          ended->done(std::move(ended->value));
        },
        reply.release());
    pa_operation_unref(operation);
  }
};

}  // namespace quillmere
