#pragma once
#include <QString>
#include <QStringList>
#include <functional>

namespace quillmere {

// The program, with its arguments, in which this desktop's settings of accessibility are made; empty where there is
// none. `desktops` is $XDG_CURRENT_DESKTOP; `find` gives the path of a program, empty without one.
QStringList accessibilitySettingsCommand(const QString& desktops, const std::function<QString(const QString&)>& find);

// Starts it. False where there is none.
bool openAccessibilitySettings();

}  // namespace quillmere
