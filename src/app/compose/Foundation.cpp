#include "app/compose/Foundation.h"

#include <QCoreApplication>
#include <QRandomGenerator>

#include "app/compose/ServiceOptions.h"
#include "app/compose/TeeLogSink.h"
#include "platform/linux/JsonLinesArchive.h"
#include "platform/linux/JsonLinesLog.h"
#include "platform/linux/LinuxDeploymentValues.h"
#include "platform/linux/LocalCrashReporter.h"
#include "platform/qt/QtDefaultsStore.h"
#include "platform/qt/QtExecutor.h"
#include "storage/SettingsTable.h"

namespace quillmere {
namespace {

std::shared_ptr<LogSink> makeLogSink(const Paths& paths, const ServiceOptions& options) {
  JsonLinesLog::Options log;
  log.folder = paths.logsFolder;
  log.processName = options.processName;
  auto file = std::make_shared<JsonLinesLog>(log);
  if (!options.extraLogSink) return file;
  return std::make_shared<TeeLogSink>(std::vector<std::shared_ptr<LogSink>>{file, options.extraLogSink});
}

void buildDiagnostics(Foundation& f) {
  LocalCrashReporter::Options reports;
  reports.folder = f.paths.logsFolder;
  f.crashReporter = std::make_unique<LocalCrashReporter>(reports, *f.clock, f.logging);
  f.logArchive = std::make_unique<JsonLinesArchive>(f.paths.logsFolder);
  DefaultsStore& defaults = *f.defaults;
  f.appLogger = std::make_unique<AppLogger>(
      f.logging, *f.crashReporter, *f.logArchive, *f.clock,
      [&defaults] { return flagSetting(defaults, QStringLiteral("enableErrorLogging")); },
      [] { return QRandomGenerator::global()->generateDouble(); });
  if (!f.appLogger->isEnabled()) return;
  DeploymentValues deployment = linuxDeploymentValues();
  deployment.version = QCoreApplication::applicationVersion();
  // The reporter of this build keeps everything on this machine, so it needs no address to be trusted with.
  if (!deployment.crashReportDsn) deployment.crashReportDsn = QStringLiteral("local");
  f.appLogger->startCrashReporting(deployment);
}

}  // namespace

Foundation::Foundation(const ServiceOptions& options) {
  paths = Paths::fromEnvironment();
  clock = std::make_unique<SystemClock>();
  executor = std::make_unique<QtExecutor>();
  logging = Logging(makeLogSink(paths, options));
  defaults = std::make_unique<QtDefaultsStore>(paths.settingsFile);
  buildDiagnostics(*this);
  ports = makePlatformPorts(paths, logging);
  audioWorkers = std::make_unique<WorkerPool>(1, QStringLiteral("audio.conversion"));
  encodeWorkers = std::make_unique<WorkerPool>(2, QStringLiteral("audio.encoding"));
  fileWorkers = std::make_unique<WorkerPool>(2, QStringLiteral("files"));
  settings = std::make_unique<SettingsManager>(*defaults, paths.standard, logging, appLogger.get());
}

}  // namespace quillmere
