#pragma once
#include "base/Result.h"
#include "base/async/Task.h"
#include "domain/Errors.h"
#include "providers/SpeechRequest.h"

namespace quillmere {

// A speech engine, on the device or in a cloud. Used on the main thread; the work itself may run elsewhere. Any number
// of calls may be under way: an engine that has room for one takes them in their order.
class TranscriptionProvider {
 public:
  virtual ~TranscriptionProvider() = default;
  // Only a cancel of the task that awaits it breaks the work off.
  virtual Task<Result<SpeechAnswer, AnyError>> transcribe(SpeechRequest request) = 0;
  // It has what it needs to start, the key of a service apart.
  virtual bool isAvailable() const = 0;
  // Display name, kept in TranscriptionResult::provider.
  virtual QString name() const = 0;
};

}  // namespace quillmere
