#pragma once
#include "base/Published.h"

namespace quillmere {

// What changes many times a second while a recording runs, apart from everything else, so that only a view that shows
// it is told. Main thread.
struct RecordingLiveMetrics {
  Published<float> audioLevel;          // 0 to 1
  Published<double> recordingDuration;  // seconds
};

}  // namespace quillmere
