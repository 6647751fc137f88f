#pragma once
#include <QString>
#include <optional>

#include "base/Result.h"
#include "base/async/Task.h"

namespace quillmere {

struct GemmaServerConfiguration {
  QString host = QStringLiteral("127.0.0.1");
  int port = 37219;
  int contextSize = 8192;
  int threads = 1;
  std::optional<int> gpuLayers;
  QString chatTemplate = QStringLiteral("gemma");
  std::optional<QString> executableOverride;
  bool operator==(const GemmaServerConfiguration&) const = default;
};

struct GemmaError {
  enum class Kind { launchFailed, executableNotFound, modelNotFound, healthCheckFailed, other };
  Kind kind = Kind::other;
  QString text;  // of launchFailed and other
  bool operator==(const GemmaError&) const = default;
};

enum class GemmaStopReason { modeChanged, providerDisabled, modelMissing, applicationTerminating, manual };

// The server of the local language model. Main thread.
class GemmaRuntime {
 public:
  virtual ~GemmaRuntime() = default;
  // Gives the id of the model that is served, which may be another one than asked for.
  virtual Task<Result<QString, GemmaError>> ensureRunning(std::optional<QString> modelId,
                                                          GemmaServerConfiguration configuration) = 0;
  virtual void stop(GemmaStopReason reason) = 0;
};

}  // namespace quillmere
