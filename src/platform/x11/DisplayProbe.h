#pragma once

namespace quillmere {

// Whether the X server that DISPLAY names answers. Needs nothing of Qt; blocks for the handshake.
bool isDisplayReachable();

}  // namespace quillmere
