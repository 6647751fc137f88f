#include "recording/MusicBlocker.h"

namespace quillmere {

MusicBlocker::MusicBlocker(Workspace& workspace, const Logging& logging)
    : workspace_(workspace), logger_(logging.logger(QStringLiteral("MusicBlocker"))) {}

void MusicBlocker::start() {
  if (observer_) {
    logger_.info("MusicBlocker already active, skipping start");
    return;
  }
  observer_ = workspace_.observeLaunches([this](const RunningApplication& application) { launched(application); });
  logger_.info("MusicBlocker started - Apple Music will be blocked from launching");
}

void MusicBlocker::stop() {
  observer_.reset();
}

void MusicBlocker::launched(const RunningApplication& application) {
  if (application.bundleId != QStringLiteral("com.apple.Music") &&
      application.bundleId != QStringLiteral("com.apple.iTunes"))
    return;
  if (workspace_.forceTerminate(application.processId))
    logger_.info("Blocked %{public}s from launching", application.bundleId);
  else
    logger_.warning("Failed to block %{public}s from launching", application.bundleId);
}

}  // namespace quillmere
