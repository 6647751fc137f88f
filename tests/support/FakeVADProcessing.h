#pragma once
#include <QString>
#include <vector>

#include "audio/VADProcessing.h"
#include "base/async/Await.h"
#include "support/Files.h"

namespace quillmere {

// Trims and compresses to the files that it is told to, which it makes, or nothing.
class FakeVADProcessing final : public VADProcessing {
 public:
  std::optional<QString> trimmedPath;
  std::optional<QString> compressedPath;
  Duration takes{0};
  struct Call {
    double duration;
    bool isEnabled;
  };
  std::vector<Call> calls;
  QStringList compressed;  // what was asked for

  Task<VADProcessingResult> process(QString audioPath, double durationSeconds, bool isEnabled, QString) override {
    calls.push_back({durationSeconds, isEnabled});
    if (takes > Duration::zero()) co_await sleepFor(takes);
    VADProcessingResult result;
    result.originalAudioPath = audioPath;
    result.finalAudioPath = trimmedPath.value_or(audioPath);
    result.wasProcessed = trimmedPath.has_value();
    if (trimmedPath) {
      writeFile(*trimmedPath);
      result.trimResult = TrimResult{*trimmedPath, durationSeconds, durationSeconds / 2, 1};
    }
    co_return result;
  }
  Task<QString> compressLargeWav(QString path, QString) override {
    compressed << path;
    if (compressedPath) writeFile(*compressedPath);
    co_return compressedPath.value_or(path);
  }
};

}  // namespace quillmere
