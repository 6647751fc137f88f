#pragma once
#include <QString>

namespace quillmere {

// Whether a living process holds the lock that a recorder keeps on the file it writes. Any thread.
bool isFileInUse(const QString& path);

}  // namespace quillmere
