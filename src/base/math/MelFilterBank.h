#pragma once
#include <vector>

namespace quillmere {

// The mel filter bank of speech models: `bands` triangles on the Slaney scale from 0 to 8000 Hz, each of area 1 over
// frequency, at the transformLength / 2 + 1 frequencies of a transform of so many samples at 16 kHz. Row by row; equal
// to the last bit to the banks that are published with models.
std::vector<float> melFilterBank(int bands, int transformLength);

}  // namespace quillmere
