#include "app/desktop/AccessibilitySettings.h"

#include <QProcess>
#include <QStandardPaths>
#include <array>

namespace quillmere {
namespace {

struct SettingsProgram {
  const char* desktop;
  const char* program;
  const char* page;  // null: the program has only this one
};

constexpr std::array settingsPrograms{
    SettingsProgram{"GNOME", "gnome-control-center", "universal-access"},
    SettingsProgram{"Unity", "gnome-control-center", "universal-access"},
    SettingsProgram{"KDE", "systemsettings", "kcm_access"},
    SettingsProgram{"KDE", "systemsettings5", "kcm_access"},
    SettingsProgram{"XFCE", "xfce4-accessibility-settings", nullptr},
    SettingsProgram{"X-Cinnamon", "cinnamon-settings", "accessibility"},
    SettingsProgram{"MATE", "mate-at-properties", nullptr},
};

}  // namespace

QStringList accessibilitySettingsCommand(const QString& desktops, const std::function<QString(const QString&)>& find) {
  for (const QString& desktop : desktops.split(u':', Qt::SkipEmptyParts)) {
    for (const SettingsProgram& known : settingsPrograms) {
      if (desktop.compare(QLatin1String(known.desktop), Qt::CaseInsensitive) != 0) continue;
      const QString path = find(QString::fromLatin1(known.program));
      if (path.isEmpty()) continue;
      QStringList command(path);
      if (known.page != nullptr) command << QString::fromLatin1(known.page);
      return command;
    }
  }
  return {};
}

bool openAccessibilitySettings() {
  QStringList command =
      accessibilitySettingsCommand(qEnvironmentVariable("XDG_CURRENT_DESKTOP"),
                                   [](const QString& program) { return QStandardPaths::findExecutable(program); });
  if (command.isEmpty()) return false;
  const QString program = command.takeFirst();
  return QProcess::startDetached(program, command);
}

}  // namespace quillmere
