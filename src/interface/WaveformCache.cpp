#include "interface/WaveformCache.h"

#include "base/async/Async.h"
#include "interface/WaveformSamples.h"

namespace quillmere {

WaveformCache::WaveformCache(MediaReaderFactory& readers, WorkerPool& pool, const Logging& logging)
    : readers_(readers), pool_(pool), logger_(logging.logger(QStringLiteral("WaveformCache"))) {}

QString WaveformCache::key(const QString& path, int barCount) {
  return QString::number(barCount) + u':' + path;
}

Task<std::vector<float>> WaveformCache::samples(QString path, int barCount) {
  if (const auto* kept = kept_.object(key(path, barCount))) co_return *kept;
  struct Job {
    MediaReaderFactory* readers;
    Logger logger;
    QString file;
    int barCount;
    std::vector<float> operator()(const StopFlag&) const { return waveformSamples(*readers, file, barCount, logger); }
  };
  Job job{&readers_, logger_, path, barCount};
  std::vector<float> bars = co_await offload(pool_, std::move(job));
  if (!bars.empty()) kept_.insert(key(path, barCount), new std::vector<float>(bars));
  co_return bars;
}

}  // namespace quillmere
