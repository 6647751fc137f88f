#pragma once
#include <QString>

// What the context says of applications by their identifiers. Pure.
namespace quillmere {

// "Web Browser", "Code Editor", ... ; "Application" for what nobody knows. Editors built on Electron are known to
// somebody else.
QString applicationCategory(const QString& bundleId, bool isElectronEditor);

// One sentence on the application.
QString applicationDescription(const QString& bundleId, const QString& category);

}  // namespace quillmere
