#include "platform/ffmpeg/SwrPipe.h"

#include <algorithm>
#include <cerrno>
#include <numeric>
#include <vector>

namespace quillmere::ffmpeg {
namespace {

// A filter twice as long as the default, with a slightly lower edge: flat to 0.85 of the lower half rate and 70 dB down
// from that half rate on, so that nothing folds back into speech.
constexpr int filterSize = 64;
constexpr double filterCutoff = 0.93;
constexpr double filterBeta = 7.5;

constexpr double sideWeight = 0.70710678;
constexpr int largestMatrix = 64;

// Weights that bring the source's channels to one.
std::vector<double> monoWeights(const AudioStreamFormat& source, const AVChannelLayout& layout) {
  std::vector<double> weights(size_t(source.channelCount), 1.0);
  if (source.channelMask != 0 && source.channelCount > 2) {
    AVChannelLayout mono = {};
    av_channel_layout_default(&mono, 1);
    // The library scales a whole matrix of its largest size, however few the channels are.
    std::vector<double> mixed(size_t(largestMatrix) * largestMatrix);
    if (swr_build_matrix2(&layout, &mono, sideWeight, sideWeight, 0, 1.0, 1.0, mixed.data(), largestMatrix,
                          AV_MATRIX_ENCODING_NONE, nullptr) >= 0 &&
        std::accumulate(mixed.begin(), mixed.begin() + source.channelCount, 0.0) > 0)
      std::copy_n(mixed.begin(), weights.size(), weights.begin());
  }
  const double sum = std::accumulate(weights.begin(), weights.end(), 0.0);
  for (double& weight : weights) weight /= sum;
  return weights;
}

}  // namespace

Result<SwrPipe, int> SwrPipe::create(const AudioStreamFormat& source, const Target& target) {
  AVChannelLayout in = channelLayout(source.channelMask, source.channelCount);
  AVChannelLayout out = target.layout;
  SwrContext* raw = nullptr;
  int code = swr_alloc_set_opts2(&raw, &out, target.format, target.sampleRate, &in, sampleFormat(source),
                                 int(source.sampleRate), 0, nullptr);
  Owned<SwrContext> context(raw);
  if (code < 0) return Failed{code};
  av_opt_set_int(raw, "filter_size", filterSize, 0);
  av_opt_set_double(raw, "cutoff", filterCutoff, 0);
  av_opt_set_double(raw, "kaiser_beta", filterBeta, 0);
  av_opt_set_double(raw, "rematrix_maxval", 1.0, 0);
  if (target.layout.nb_channels == 1 && source.channelCount > 1) {
    const std::vector<double> weights = monoWeights(source, in);
    code = swr_set_matrix(raw, weights.data(), source.channelCount);
    if (code < 0) return Failed{code};
  }
  code = swr_init(raw);
  if (code < 0) return Failed{code};
  return SwrPipe(std::move(context));
}

int SwrPipe::outputBound(int sourceFrames) const {
  return std::max(0, swr_get_out_samples(context_.get(), sourceFrames));
}

int SwrPipe::convert(uint8_t* const* output, int room, const std::byte* const* planes, int frames) {
  // The library's parameters lack the const that it keeps.
  auto** out = const_cast<uint8_t**>(output);
  auto** in = reinterpret_cast<const uint8_t**>(const_cast<const std::byte**>(planes));
  return swr_convert(context_.get(), out, room, in, frames);
}

}  // namespace quillmere::ffmpeg
