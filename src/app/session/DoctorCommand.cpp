#include <QJsonObject>

#include "app/compose/Services.h"
#include "app/compose/session/SessionServices.h"
#include "app/session/Doctor.h"
#include "app/session/KeyringProbe.h"
#include "app/session/SessionCommands.h"

namespace quillmere {
namespace {

QString mark(DoctorFinding::Verdict verdict) {
  switch (verdict) {
    case DoctorFinding::Verdict::ok:
      return QStringLiteral("✓");
    case DoctorFinding::Verdict::warning:
      return QStringLiteral("!");
    case DoctorFinding::Verdict::failed:
      return QStringLiteral("✗");
  }
  return {};
}

const char* word(DoctorFinding::Verdict verdict) {
  switch (verdict) {
    case DoctorFinding::Verdict::ok:
      return "ok";
    case DoctorFinding::Verdict::warning:
      return "warning";
    case DoctorFinding::Verdict::failed:
      return "failed";
  }
  return "";
}

}  // namespace

Task<int> runDoctor(CommandContext context, DoctorOptions options) {
  const auto session = makeSessionServices(context.services, {}, {});
  DoctorPatient patient{
      *session->sound->devices,         *session->sound->recorders,           *session->display.accessibility,
      *context.services.models.manager, *context.services.ports.speechEngine, *context.services.settings};
  if (session->display.isPresent) {
    patient.pasteboard = session->display.pasteboard.get();
    patient.keys = session->display.keySynthesizer.get();
    patient.displayName = qEnvironmentVariable("DISPLAY");
  }
  patient.isWaylandSession = isWaylandSession();
  patient.keyring = [] { return probeKeyring(); };
  const auto show = [&](const DoctorFinding& finding) {
    if (options.isJson) {
      context.terminal.json(QJsonObject{{"check", finding.id},
                                        {"verdict", word(finding.verdict)},
                                        {"detail", finding.detail},
                                        {"advice", finding.advice}});
      return;
    }
    context.terminal.out(
        QStringLiteral("%1 %2 %3").arg(mark(finding.verdict), finding.title.leftJustified(20), finding.detail));
    if (!finding.advice.isEmpty()) context.terminal.out(QString(23, u' ') + finding.advice);
  };
  const std::vector<DoctorFinding> findings = co_await examine(patient, show);
  const bool canDictate = std::none_of(findings.begin(), findings.end(), [](const DoctorFinding& finding) {
    return finding.verdict == DoctorFinding::Verdict::failed;
  });
  co_return canDictate ? exitOk : exitFailure;
}

}  // namespace quillmere
