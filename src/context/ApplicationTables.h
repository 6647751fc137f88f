#pragma once
#include <QString>

// What is known of applications by their identifiers. Pure.
namespace quillmere {

bool isBrowser(const QString& bundleId);

// "Web Browser", "Code Editor", ... ; "Application" for what is in no table. Editors built on Electron are known to
// somebody else.
QString applicationCategory(const QString& bundleId, bool isElectronEditor);

// One sentence on the application.
QString applicationDescription(const QString& bundleId, const QString& category);

}  // namespace quillmere
