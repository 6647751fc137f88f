#pragma once
#include <QString>

#include "base/async/Executor.h"

namespace quillmere {

// What is known about applications as targets of a paste. Identifiers are compared exactly. Pure.
namespace pasteTargets {

// Get the paste without a look at the focused element.
bool isBrowser(const QString& bundleId);
// The focus is searched deeper there.
bool isDeepFocusEditor(const QString& bundleId);
// Get the paste although no editable element was found.
bool isBlindPaste(const QString& bundleId);
// Get Shift+Insert, and the paste without a look at the focused element: terminals, most of which are invisible to
// accessibility, and Emacs, where Control and V turns the page.
bool pastesWithShiftInsert(const QString& bundleId);
// Worth a second look when the focus isn't there at once.
bool isSlowToFocus(const QString& bundleId);
// Roles of accessibility that take text.
bool isStandardInputRole(const QString& role);
// Roles of what certainly takes none. What is in neither list, as a container or a canvas, says nothing.
bool isRoleWithoutText(const QString& role);

Duration waitAfterReactivation(const QString& bundleId);

}  // namespace pasteTargets
}  // namespace quillmere
