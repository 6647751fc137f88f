#pragma once
#include <vector>

namespace quillmere {

// The mel filter bank of Whisper models: `bands` triangles on the Slaney scale from 0 to 8000 Hz, each of area 1 over
// frequency, at the 201 frequencies of a transform of 400 samples at 16 kHz. Row by row; equal to the last bit to the
// banks of the published model files.
std::vector<float> melFilterBank(int bands);

}  // namespace quillmere
