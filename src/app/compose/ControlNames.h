#pragma once

namespace quillmere {

// Where the running application answers on the session bus.
inline constexpr const char* controlService = "com.quillmere.Quillmere";
inline constexpr const char* controlPath = "/com/quillmere/Quillmere";
inline constexpr const char* controlInterface = "com.quillmere.Quillmere";

}  // namespace quillmere
