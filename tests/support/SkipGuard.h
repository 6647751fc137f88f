#pragma once

namespace quillmere {

// From here on a skipped test fails where CI is "true", unless tests/allowed_skips.txt names it with a reason: what is
// left out there by accident, because a program is missing, would never be seen. Call it after InitGoogleMock.
void installSkipGuard();

}  // namespace quillmere
