#pragma once
#include "ports/Accessibility.h"

namespace quillmere {

// Finds the enabled Copy item in the menus of an application, the Edit menu first. An item is taken by its identifier
// "copy:", or by its shortcut C and one of the words for Copy; where the shortcut can't be read the word suffices.
// Nothing when there is none or the menus can't be read. Accessibility thread; the walk is bounded.
AccessibilityElementPtr findCopyMenuItem(AccessibilityTree& tree, qint64 processId);

// Whether a menu title, with or without a mnemonic and a shortcut, is a word for Copy in one of the usual languages.
bool isWordForCopy(const QString& title);

// The same for the menu Edit.
bool isWordForEdit(const QString& title);

}  // namespace quillmere
