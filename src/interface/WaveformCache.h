#pragma once
#include <QCache>
#include <QString>
#include <vector>

#include "base/async/Task.h"
#include "base/async/WorkerPool.h"
#include "base/log/Logger.h"

namespace quillmere {

class MediaReaderFactory;

// The bars of stored recordings, read once on a worker; the last hundred are kept. Main thread. `readers` and `pool`
// outlive it. A cancel leaves the waiting caller; what the worker reads then is dropped.
class WaveformCache {
 public:
  static constexpr int countLimit = 100;

  WaveformCache(MediaReaderFactory& readers, WorkerPool& pool, const Logging& logging);

  // No samples for a file that can't be read; those aren't kept.
  Task<std::vector<float>> samples(QString path, int barCount);
  bool contains(const QString& path, int barCount) const { return kept_.contains(key(path, barCount)); }

 private:
  static QString key(const QString& path, int barCount);

  MediaReaderFactory& readers_;
  WorkerPool& pool_;
  Logger logger_;
  QCache<QString, std::vector<float>> kept_{countLimit};
};

}  // namespace quillmere
