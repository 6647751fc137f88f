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
  Duration takes{0};
  struct Call {
    double duration;
    bool isEnabled;
    QString prefix;
  };
  std::vector<Call> calls;

  Task<VADProcessingResult> process(QString audioPath, double durationSeconds, bool isEnabled,
                                    QString logPrefix) override {
    calls.push_back({durationSeconds, isEnabled, logPrefix});
    if (takes > Duration::zero()) co_await sleepFor(takes);
    VADProcessingResult result;
    result.originalAudioPath = audioPath;
    result.finalAudioPath = trimmedPath.value_or(audioPath);
    result.wasProcessed = trimmedPath.has_value();
    if (trimmedPath) {
      if (QFile file(*trimmedPath); !file.open(QIODevice::WriteOnly)) std::abort();
      result.trimResult = TrimResult{*trimmedPath, durationSeconds, durationSeconds / 2, 1};
    }
    co_return result;
  }
};

}  // namespace quillmere
