#include "interface/WaveformVisualizer.h"

#include "interface/WaveformCache.h"

namespace quillmere {

void WaveformVisualizer::setAudioFilePath(const QString& path) {
  if (path == audioFilePath_) return;
  loading_.cancel();
  audioFilePath_ = path;
  waveformSamples_.clear();
  Q_EMIT changed();
  if (cache_ && !path.isEmpty()) loading_ = scope_.spawn(load(path));
}

Task<void> WaveformVisualizer::load(QString path) {
  const std::vector<float> samples = co_await cache_->samples(path, barCount);
  if (path != audioFilePath_) co_return;
  for (const float sample : samples) waveformSamples_ << sample;
  Q_EMIT changed();
}

}  // namespace quillmere
