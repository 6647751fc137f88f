#include "app/compose/Paths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <optional>

namespace quillmere {
namespace {

// An XDG variable counts only when it is absolute; else the default below the home folder does.
QString baseFolder(const char* variable, const QString& fallbackBelowHome) {
  const QString value = qEnvironmentVariable(variable);
  return QDir::isAbsolutePath(value) ? QDir::cleanPath(value)
                                     : QDir::cleanPath(QDir::homePath() + u'/' + fallbackBelowHome);
}

QString userFolder(QStandardPaths::StandardLocation location, const QString& fallbackBelowHome) {
  const QString folder = QStandardPaths::writableLocation(location);
  return QDir::cleanPath(folder.isEmpty() ? QDir::homePath() + u'/' + fallbackBelowHome : folder);
}

// Nothing in a build tree.
std::optional<QString> installedResources() {
  // From $PREFIX/bin and from $PREFIX/libexec/quillmere.
  for (const char* place : {"/../share/quillmere", "/../../share/quillmere"}) {
    const QString folder = QDir::cleanPath(QCoreApplication::applicationDirPath() + QString::fromLatin1(place));
    if (QFileInfo(folder).isDir()) return folder;
  }
  return std::nullopt;
}

}  // namespace

Paths Paths::fromEnvironment() {
  Paths paths;
  paths.configHome = baseFolder("XDG_CONFIG_HOME", QStringLiteral(".config"));
  const QString data = baseFolder("XDG_DATA_HOME", QStringLiteral(".local/share"));
  paths.dataFolder = data + QStringLiteral("/quillmere");
  paths.storeFile = paths.dataFolder + QStringLiteral("/Quillmere.sqlite");
  paths.modelsFolder = paths.dataFolder + QStringLiteral("/models");
  paths.settingsFile = paths.configHome + QStringLiteral("/quillmere/quillmere.conf");
  paths.stateFolder = baseFolder("XDG_STATE_HOME", QStringLiteral(".local/state")) + QStringLiteral("/quillmere");
  paths.logsFolder = paths.stateFolder + QStringLiteral("/logs");
  const auto installed = installedResources();
  paths.isInstalled = installed.has_value();
  paths.resourcesFolder = installed.value_or(QStringLiteral(QUILLMERE_SOURCE_RESOURCES));
  paths.bundledModelFolders = {paths.resourcesFolder + QStringLiteral("/models"),
                               QStringLiteral(QUILLMERE_BUILD_MODELS)};
  // Beside the program in a build tree; an installed one knows its place, also when the whole prefix was moved.
  const QString program = QCoreApplication::applicationDirPath();
  const QString name = QStringLiteral("quillmere-media.so");
  paths.mediaLibraries = {program + u'/' + name, QStringLiteral(QUILLMERE_INSTALLED_MEDIA),
                          QDir::cleanPath(program + QStringLiteral("/../lib/quillmere/") + name),
                          QDir::cleanPath(program + QStringLiteral("/../../lib/quillmere/") + name)};
  paths.standard.applicationSupport = data;
  paths.standard.documents = userFolder(QStandardPaths::DocumentsLocation, QStringLiteral("Documents"));
  paths.standard.downloads = userFolder(QStandardPaths::DownloadLocation, QStringLiteral("Downloads"));
  paths.standard.temporary = QDir::cleanPath(QDir::tempPath());
  return paths;
}

}  // namespace quillmere
