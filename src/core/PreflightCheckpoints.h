#pragma once
#include <QString>

#include "base/async/Executor.h"
#include "base/log/Logger.h"

namespace quillmere {

class ErrorReporting;

// Measures the way from a start request to a recorder that runs and is validated. Copies go on with the same start.
class PreflightCheckpoints {
 public:
  // `errorReporting` may be null. Both outlive the checkpoints.
  PreflightCheckpoints(const Executor& executor, ErrorReporting* errorReporting, const Logger& logger);
  void mark(const QString& name);

 private:
  const Executor* executor_;
  ErrorReporting* errorReporting_;
  Logger logger_;
  TimePoint start_;
  TimePoint last_;
};

}  // namespace quillmere
