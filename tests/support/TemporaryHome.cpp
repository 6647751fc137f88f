#include "support/TemporaryHome.h"

#include <QDir>
#include <QFile>
#include <stdexcept>

namespace quillmere {

TemporaryHome::TemporaryHome() {
  if (!folder_.isValid()) throw std::runtime_error("no temporary folder");
  set("HOME", path());
  set("XDG_DATA_HOME", dataHome());
  set("XDG_CONFIG_HOME", configHome());
  set("XDG_STATE_HOME", stateHome());
  set("XDG_CACHE_HOME", cacheHome());
  const QString runtime = filePath(QStringLiteral("runtime"));
  set("XDG_RUNTIME_DIR", runtime);
  QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

TemporaryHome::~TemporaryHome() {
  for (const auto& [name, value] : saved_) {
    if (value)
      qputenv(name.constData(), *value);
    else
      qunsetenv(name.constData());
  }
}

void TemporaryHome::set(const char* name, const QString& folder) {
  saved_.emplace_back(name, qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt);
  QDir().mkpath(folder);
  qputenv(name, folder.toLocal8Bit());
}

}  // namespace quillmere
