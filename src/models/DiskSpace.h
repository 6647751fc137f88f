#pragma once
#include "domain/Errors.h"

namespace quillmere {

// Whether a number of the system says that nothing more fits: the disk, the user's share of it, or the largest file
// that the file system knows.
bool isOutOfSpace(int systemError);
// The same of an error of the domain "filesystem".
bool isOutOfSpace(const AnyError& error);

}  // namespace quillmere
