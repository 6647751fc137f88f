#include "interface/SpeechSpeed.h"

#include <QThread>

#include "audio/AudioConverter.h"
#include "base/async/Offload.h"
#include "ports/SpeechEngine.h"
#include "providers/WhisperContext.h"

namespace quillmere {
namespace {

constexpr double sampleRate = 16000;
// What the engine takes in at once: a shorter recording would cost as much.
constexpr size_t windowSamples = 30 * 16000;

}  // namespace

Task<std::optional<double>> SpeechSpeed::secondsPerMinute(QString modelFile) {
  ConversionOptions options{65536, sampleRate, false, {}};
  const auto sample = co_await services_.converter.convert(services_.sampleFile, std::move(options));
  if (!sample || sample->empty()) co_return std::nullopt;
  const auto speech = std::make_shared<std::vector<float>>(windowSamples);
  for (size_t i = 0; i < windowSamples; ++i) (*speech)[i] = (*sample)[i % sample->size()];

  struct Job {
    SpeechEngine* engine;
    Executor* executor;
    QString modelFile;
    SpeechSamples speech;
    std::optional<double> operator()(const StopFlag& stop) const {
      const auto context = engine->load(modelFile);
      if (!context) return std::nullopt;
      SpeechRunParameters parameters;
      parameters.threads = WhisperContext::threadCount(QThread::idealThreadCount());
      parameters.language = "en";
      const TimePoint start = executor->now();
      if (!(*context)->run(speech, parameters, stop.atomic())) return std::nullopt;
      return std::chrono::duration<double>(executor->now() - start).count() * 60 / (windowSamples / sampleRate);
    }
  };
  Job job{&services_.engine, &services_.executor, std::move(modelFile), speech};
  co_return co_await offload(services_.workers, std::move(job));
}

}  // namespace quillmere
