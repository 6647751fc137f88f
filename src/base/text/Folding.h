#pragma once
#include <QString>

// Comparing texts without regard to case. By Unicode, independent of the locale. Any thread; pure.
namespace quillmere {

bool equalsIgnoringCase(const QString& a, const QString& b);
bool containsIgnoringCase(const QString& text, const QString& part);

// A key under which texts that differ in case alone are the same; "STRASSE" and "Straße" too.
QString caseFolded(const QString& text);

// A key for searching: case, accents, width and ligatures make no difference ("Café" finds "cafe").
QString foldedForSearch(const QString& text);

}  // namespace quillmere
