#pragma once
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

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
    const QString path = folder_.filePath(QStringLiteral("speech.wav"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return;
    // Half a second of silence behind the words, as a speaker leaves it.
    file.write(wave(SpeechClip::pcm().left(qsizetype(seconds * 16000) * 2) + SpeechClip::silence(0.5)));
    file.close();
    process_.start(QStringLiteral("paplay"), {QStringLiteral("-d"), QStringLiteral("mic_feed"), path});
    process_.waitForStarted();
  }
  bool isSpeaking() { return !process_.waitForFinished(1) && process_.state() == QProcess::Running; }
  void stop() {
    process_.kill();
    process_.waitForFinished();
  }

  static QByteArray wave(const QByteArray& pcm) {
    const auto number = [](quint32 value, int bytes) {
      return QByteArray(reinterpret_cast<const char*>(&value), bytes);
    };
    return "RIFF" + number(quint32(36 + pcm.size()), 4) + "WAVEfmt " + number(16, 4) + number(1, 2) + number(1, 2) +
           number(16000, 4) + number(32000, 4) + number(2, 2) + number(16, 2) + "data" +
           number(quint32(pcm.size()), 4) + pcm;
  }

 private:
  QTemporaryDir folder_;
  QProcess process_;
};

}  // namespace quillmere
