#include "storage/PersistenceController.h"

#include "storage/ObjectContext.h"

namespace quillmere {

namespace {

QString loadFailureText(const PlatformError& error, const QString& path) {
  return QString("Core Data failed to load: %1, path: %2, code: %3").arg(error.description, path).arg(error.code);
}

}  // namespace

Result<std::unique_ptr<PersistenceController>, PlatformError> PersistenceController::open(
    const Location& location, const Clock& clock, const Logging& logging, ErrorReporting* reporting,
    const QTimeZone& calendar, StoreProcess process) {
  const Logger log = logging.logger("coredata");
  auto database = openStore(location, log);
  if (!database) {
    PlatformError error = database.error();
    const QString path = location.value_or(":memory:");
    log.error("Failed to load persistent store: %{public}@", error.description);
    if (reporting && reporting->isEnabled()) {
      ReportOptions options;
      options.message = "Critical: Core Data failed to load";
      options.extra = {{"path", path}, {"code", error.code}, {"domain", error.domain}};
      reporting->captureError(error, options);
    }
    error.description = loadFailureText(error, path);
    return Failed{error};
  }
  log.debug("Persistent store loaded");
  std::unique_ptr<PersistenceController> controller(
      new PersistenceController(std::make_unique<ObjectContext>(std::move(database).value()),
                                {clock, log, reporting, process.executor}, calendar, std::move(process.owner)));
  if (location) controller->modes_.seedDefaultModes();
  controller->store_.beginWork();
  return controller;
}

PersistenceController::PersistenceController(std::unique_ptr<ObjectContext> context, Store::Services services,
                                             const QTimeZone& calendar, QString processOwner)
    : store_(std::move(context), std::move(services)),
      transcripts_(store_, std::move(processOwner)),
      recordingSessions_(store_),
      modes_(store_),
      vocabulary_(store_),
      usage_(store_, calendar) {}

PersistenceController::~PersistenceController() {
  store_.endWork();
}

}  // namespace quillmere
