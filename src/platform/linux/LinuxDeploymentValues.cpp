#include "platform/linux/LinuxDeploymentValues.h"

#include <QSysInfo>
#include <thread>

#ifndef QUILLMERE_REPORT_DSN
#define QUILLMERE_REPORT_DSN ""
#endif
#ifndef QUILLMERE_REPORT_ENVIRONMENT
#define QUILLMERE_REPORT_ENVIRONMENT ""
#endif

namespace quillmere {
namespace {

std::optional<QString> value(const char* variable, const char* builtIn) {
  const QString text =
      qEnvironmentVariableIsSet(variable) ? qEnvironmentVariable(variable) : QString::fromUtf8(builtIn);
  return text.isEmpty() ? std::nullopt : std::optional(text);
}

}  // namespace

DeploymentValues linuxDeploymentValues() {
  DeploymentValues values;
  values.crashReportDsn = value("QUILLMERE_REPORT_DSN", QUILLMERE_REPORT_DSN);
  values.crashReportEnvironment = value("QUILLMERE_REPORT_ENVIRONMENT", QUILLMERE_REPORT_ENVIRONMENT);
  values.systemVersion = QSysInfo::prettyProductName() + QStringLiteral(", Linux ") + QSysInfo::kernelVersion();
  values.architecture = QSysInfo::currentCpuArchitecture();
  values.processorCount = int(std::max(1u, std::thread::hardware_concurrency()));
  return values;
}

}  // namespace quillmere
