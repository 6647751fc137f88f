#pragma once
#include <atomic>

namespace quillmere {

// While one lives, the engine's graph computations of this thread end at the next tensor operation after `stop` became
// true. The library by itself only asks between whole encoder runs, and not at all during language detection.
// Works through a link option (cmake/Whisper.cmake) that leads the library's own calls through this file; with an
// installed library it does nothing. Not nested.
class GraphAbort {
 public:
  explicit GraphAbort(const std::atomic<bool>& stop);
  ~GraphAbort();
  GraphAbort(const GraphAbort&) = delete;
  GraphAbort& operator=(const GraphAbort&) = delete;
};

}  // namespace quillmere
