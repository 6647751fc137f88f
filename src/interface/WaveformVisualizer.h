#pragma once
#include <QObject>
#include <QString>
#include <QVariantList>
#include <vector>

#include "base/async/TaskScope.h"

namespace quillmere {

class WaveformCache;

// A stored recording as bars, one file at a time: set the file, and its samples come when they are read. Main thread.
// Both outlive it; without a cache there is never anything to draw.
class WaveformVisualizer final : public QObject {
  Q_OBJECT
  // Empty: none.
  Q_PROPERTY(QString audioFilePath READ audioFilePath WRITE setAudioFilePath NOTIFY changed)
  // From 0 to 1; empty until they are read, and for a file that can't be.
  Q_PROPERTY(QVariantList waveformSamples READ waveformSamples NOTIFY changed)
 public:
  static constexpr int barCount = 96;

  WaveformVisualizer(WaveformCache* cache, Executor& executor) : cache_(cache), scope_(executor) {}

  QString audioFilePath() const { return audioFilePath_; }
  void setAudioFilePath(const QString& path);
  QVariantList waveformSamples() const { return waveformSamples_; }

 Q_SIGNALS:
  void changed();

 private:
  Task<void> load(QString path);

  WaveformCache* cache_;
  QString audioFilePath_;
  QVariantList waveformSamples_;
  TaskHandle<void> loading_;
  TaskScope scope_;  // last: its tasks use the fields above
};

}  // namespace quillmere
