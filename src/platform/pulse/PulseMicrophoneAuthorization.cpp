#include "platform/pulse/PulseMicrophoneAuthorization.h"

#include <pulse/def.h>

#include "base/async/Combinators.h"
#include "platform/pulse/PulseStream.h"

namespace quillmere {
namespace {

constexpr Duration probeLimit = std::chrono::seconds(1);

}  // namespace

MicrophoneAuthorization::Status PulseMicrophoneAuthorization::status() const {
  return connection_.isAccessDenied() ? Status::denied : Status::authorized;
}

Task<bool> PulseMicrophoneAuthorization::requestAccess() {
  if (!connection_.isAccessDenied()) co_return true;
  if (!co_await devices_.waitUntilReady()) co_return !connection_.isAccessDenied();
  const std::optional<QString> source = devices_.captureInputUid();
  if (!source) co_return !connection_.isAccessDenied();
  // A paused stream is refused as a running one is.
  auto stream = std::make_shared<PulseStream>(connection_.api());
  Completion<int> opened;
  Executor* const executor = &connection_.executor();
  connection_.run([stream, opened, executor, name = *source](pa_context* context) {
    stream->open(context, name, [opened, executor](int error) {
      executor->post([opened, error]() mutable { opened.resolve(error); });
    });
  });
  const std::optional<int> error = co_await withTimeout(probeLimit, opened.wait());
  connection_.run([stream](pa_context*) { stream->close(); });
  if (error) connection_.noteAccess(*error != PA_ERR_ACCESS);
  co_return !connection_.isAccessDenied();
}

}  // namespace quillmere
