#pragma once
#include <QtGlobal>
#include <functional>

namespace quillmere {

// What AudioConverter is asked for.
struct ConversionOptions {
  quint32 chunkSize;                           // frames of the source read a round
  double targetSampleRate;                     // hertz
  bool normalize;                              // adjust the peak afterwards
  std::function<void(float)> progressHandler;  // share done, 0 to 1; runs on the worker thread; may be empty
};

}  // namespace quillmere
