#pragma once
#include <memory>

#include "app/compose/Paths.h"
#include "app/compose/PlatformPorts.h"
#include "base/Clock.h"
#include "base/async/Executor.h"
#include "base/async/WorkerPool.h"
#include "base/log/Logger.h"
#include "diagnostics/AppLogger.h"
#include "ports/CrashReporter.h"
#include "ports/DefaultsStore.h"
#include "ports/LogArchive.h"
#include "storage/SettingsManager.h"

namespace quillmere {

struct ServiceOptions;

// What everything else is built on: places, time, log, ports, threads, settings. Main thread.
struct Foundation {
  // Needs a QCoreApplication.
  explicit Foundation(const ServiceOptions& options);
  Foundation(const Foundation&) = delete;
  Foundation& operator=(const Foundation&) = delete;

  Paths paths;
  std::unique_ptr<Clock> clock;
  std::unique_ptr<Executor> executor;
  Logging logging;
  std::unique_ptr<DefaultsStore> defaults;
  std::unique_ptr<CrashReporter> crashReporter;
  std::unique_ptr<LogArchive> logArchive;
  std::unique_ptr<AppLogger> appLogger;
  PlatformPorts ports;
  std::unique_ptr<WorkerPool> audioWorkers;   // "audio.conversion": what a decode waits for
  std::unique_ptr<WorkerPool> encodeWorkers;  // "audio.encoding": what nothing waits for
  std::unique_ptr<WorkerPool> fileWorkers;
  std::unique_ptr<SettingsManager> settings;
};

}  // namespace quillmere
