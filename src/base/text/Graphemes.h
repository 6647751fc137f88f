#pragma once
#include <QString>
#include <QStringList>
#include <QStringView>

// A "character" of a text, as its reader counts: a grapheme cluster. A family emoji, a letter with its combining marks,
// a flag and CR LF count as one each. Any thread; pure.
namespace quillmere {

int graphemeCount(const QString& text);

// The first n characters; all of them when there are fewer, none for n <= 0.
QString leftGraphemes(const QString& text, int n);

// The last n characters; the same at the edges.
QString rightGraphemes(const QString& text, int n);

// n characters from the character at `from` (0 is the first); n < 0 means up to the end. Outside parts are left out.
QString sliceGraphemes(const QString& text, int from, int n = -1);

QStringList graphemes(const QString& text);

// The text without Unicode white space and line ends at both ends. White space inside stays as it is, and so do the
// invisible characters that are no white space (zero width space, byte order mark).
QString trimmedText(const QString& text);

}  // namespace quillmere
