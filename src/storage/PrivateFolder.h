#pragma once
#include <QString>

namespace quillmere {

// Makes the folder, and what is missing above it, for this user alone. One that is there stays as it is. False with
// errno where that fails or something else has the name. Any thread.
bool makePrivateFolder(const QString& path);

}  // namespace quillmere
