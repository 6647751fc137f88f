#pragma once
#include "domain/Errors.h"

namespace quillmere {

// The error of a number of libpulse: domain "audio" and a sentence for the user.
PlatformError soundError(int code);

}  // namespace quillmere
