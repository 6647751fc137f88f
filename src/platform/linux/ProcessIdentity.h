#pragma once
#include <QString>
#include <optional>

namespace quillmere {

// Names this process on this machine and in this run of it: a later process with the same number has another name. Any
// thread; the same text at every call.
QString thisProcessIdentity();
// Whether the named process still runs. Nothing where it can't be seen from here (inside or outside of a sandbox with
// process numbers of its own). A text that names no process gives false.
std::optional<bool> isProcessAlive(const QString& identity);

}  // namespace quillmere
