#include "core/PreflightCheckpoints.h"

#include <cmath>

#include "ports/ErrorReporting.h"

namespace quillmere {
namespace {

double seconds(Duration duration) {
  return std::chrono::duration<double>(duration).count();
}

qint64 roundedMilliseconds(Duration duration) {
  return std::llround(seconds(duration) * 1000);
}

}  // namespace

PreflightCheckpoints::PreflightCheckpoints(const Executor& executor, ErrorReporting* errorReporting,
                                           const Logger& logger)
    : executor_(&executor), errorReporting_(errorReporting), logger_(logger), start_(executor.now()), last_(start_) {}

void PreflightCheckpoints::mark(const QString& name) {
  const TimePoint now = executor_->now();
  const Duration step = now - last_;
  const Duration total = now - start_;
  last_ = now;
  logger_.info("⏱️ Recording preflight checkpoint '%s' · step=%ss · total=%ss", name,
               QString::number(seconds(step), 'f', 2), QString::number(seconds(total), 'f', 2));
  if (errorReporting_ == nullptr || !errorReporting_->isEnabled()) return;
  Breadcrumb breadcrumb;
  breadcrumb.message = QStringLiteral("Recording preflight checkpoint");
  breadcrumb.category = QStringLiteral("audio.preflight");
  breadcrumb.data = {{QStringLiteral("checkpoint"), name},
                     {QStringLiteral("stepMs"), roundedMilliseconds(step)},
                     {QStringLiteral("totalMs"), roundedMilliseconds(total)}};
  errorReporting_->addBreadcrumb(breadcrumb);
}

}  // namespace quillmere
