#pragma once
#include <QFile>
#include <QString>
#include <vector>

#include "audio/VADProcessing.h"
#include "base/async/Await.h"

namespace quillmere {

// Trims to the file that it is told to, which it makes, or nothing.
class FakeVADProcessing final : public VADProcessing {
 public:
  std::optional<QString> trimmedPath;
  std::optional<QString> compressedPath;  // what becomes of the trimmed file, beside it
  Duration takes{0};
  struct Call {
    double duration;
    bool isEnabled;
    QString prefix;
    bool compressesLarge;
  };
  std::vector<Call> calls;

  Task<VADProcessingResult> process(QString audioPath, double durationSeconds, bool isEnabled, QString logPrefix,
                                    bool compressesLarge) override {
    calls.push_back({durationSeconds, isEnabled, logPrefix, compressesLarge});
    if (takes > Duration::zero()) co_await sleepFor(takes);
    VADProcessingResult result;
    result.originalAudioPath = audioPath;
    result.finalAudioPath = trimmedPath ? compressedPath.value_or(*trimmedPath) : audioPath;
    result.wasProcessed = trimmedPath.has_value();
    if (trimmedPath) {
      for (const QString& path : {*trimmedPath, result.finalAudioPath})
        if (QFile file(path); !file.open(QIODevice::WriteOnly)) std::abort();
      result.trimResult = TrimResult{*trimmedPath, durationSeconds, durationSeconds / 2, 1};
    }
    co_return result;
  }
};

}  // namespace quillmere
