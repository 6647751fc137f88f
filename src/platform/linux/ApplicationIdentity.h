#pragma once
#include <QString>

namespace quillmere {

// Names of the same application in different worlds. Pure.
namespace applicationIdentity {

// The identifier that the application tables use for the application of a window class ("Code", "code") or desktop
// file ("code.desktop", "org.mozilla.firefox"). One without a counterpart there keeps its own name in lower case,
// without ".desktop". Empty for an empty name.
QString bundleId(const QString& name);
// By the class, else by the instance of a window (the two parts of WM_CLASS).
QString bundleIdOfWindow(const QString& windowClass, const QString& instance);

}  // namespace applicationIdentity
}  // namespace quillmere
