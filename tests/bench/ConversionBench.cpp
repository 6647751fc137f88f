// Decoding of ten minutes of stereo at 48 kHz to 16 kHz mono floats, against the ffmpeg program doing the same to raw
// floats. The two take turns; the figure is the ratio of the medians.
#include <sys/resource.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "audio/SampleConversion.h"
#include "bench/ProcessTiming.h"
#include "platform/ffmpeg/FfmpegAudioResamplerFactory.h"
#include "platform/ffmpeg/FfmpegMediaReaderFactory.h"
#include "support/SampleMedia.h"

namespace {

using namespace quillmere;

constexpr int rounds = 9;
constexpr int rate = 48000;
constexpr qint64 seconds = 600;

template <typename F>
double secondsOf(F work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// A voice-like mixture: cheap to make and not silent.
double sample(qint64 frame, int channel) {
  const double t = double(frame) / rate;
  return 0.3 * std::sin(2 * M_PI * (180 + 20 * channel) * t) + 0.1 * std::sin(2 * M_PI * 2500 * t);
}

}  // namespace

int main() {
  const SampleMedia media;
  const QString source = media.write("source.wav", SampleMedia::wav(rate, 2, rate * seconds, &sample));
  const FfmpegLog log{Logging()};
  FfmpegMediaReaderFactory readers(log);
  FfmpegAudioResamplerFactory resamplers(log);
  const std::atomic<bool> stop{false};

  std::vector<double> own, program;
  size_t count = 0;
  for (int round = 0; round < rounds; ++round) {
    own.push_back(secondsOf([&] {
      SampleConversion conversion(readers, resamplers, {}, source, {32768, 16000, false, {}});
      const auto samples = conversion.run(stop);
      count = samples ? samples->size() : 0;
    }));
    bool isDone = false;
    program.push_back(secondsOf([&] {
      isDone = media.ffmpeg({"-i", "source.wav", "-ac", "1", "-ar", "16000", "-f", "f32le", "out.raw"});
    }));
    if (!isDone || count != size_t(seconds * 16000)) {
      std::fprintf(stderr, "the conversion failed\n");
      return 1;
    }
  }
  std::printf("conversion of %lld s: own %.3f s, ffmpeg program %.3f s, ratio %.2f (budget 1.30)\n",
              static_cast<long long>(seconds), median(own), median(program), median(own) / median(program));
  return 0;
}
