#pragma once
#include <QProcess>

#include "support/Files.h"
#include "support/SampleMedia.h"
#include "support/SpeechClip.h"

namespace quillmere {

// What the desktop's virtual microphone hears. The clip's beginning, "And so, my fellow Americans", lasts 3.2 seconds.
class Microphone {
 public:
  static constexpr const char* shortWords = "And so my fellow Americans";

  // Speaks into the microphone and comes back at the end.
  void speak(double seconds = 3.2) {
    start(seconds);
    process_.waitForFinished(60000);
  }
  void start(double seconds = 3.2) {
    const QString path = folder_.filePath("speech.wav");
    // Half a second of silence after the words, as a speaker leaves it.
    writeFile(path, SampleMedia::wav(
                        16000, 1, SpeechClip::pcm().left(qsizetype(seconds * 16000) * 2) + SpeechClip::silence(0.5)));
    process_.start("paplay", {"-d", "mic_feed", path});
    process_.waitForStarted();
  }
  bool isSpeaking() { return !process_.waitForFinished(1) && process_.state() == QProcess::Running; }

 private:
  QTemporaryDir folder_;
  QProcess process_;
};

}  // namespace quillmere
