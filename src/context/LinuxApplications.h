#pragma once
#include <QString>

namespace quillmere {

// The category of an application of the Linux desktop that keeps its own identifier (desktop file or window class),
// compared without regard to case; empty when it isn't known. Pure.
QString linuxApplicationCategory(const QString& identifier);

}  // namespace quillmere
