#pragma once
#include <QString>

namespace quillmere {

// One line of progress: "talk.mp3  [#####·····]  52 %  transcribing". `share` is held to 0..1; a negative share means
// that the end isn't known and leaves out bar and percentage. The label is cut in the middle where it is too long.
QString progressLine(const QString& label, double share, const QString& note, int columns);

}  // namespace quillmere
