#pragma once
#include <QByteArray>
#include <QFile>
#include <QString>
#include <QtEndian>
#include <vector>

namespace quillmere {

// Eleven seconds of real speech that come with the speech engine's source: 16 kHz, mono, 16-bit.
class SpeechClip {
 public:
  static QString path() {
    return qEnvironmentVariable("QUILLMERE_SOURCE_DIR") + "/third_party/src/whisper.cpp/bindings/go/samples/jfk.wav";
  }
  // The bare samples, without the header and the notes before them. Empty when the file is missing.
  static QByteArray pcm() {
    QFile file(path());
    if (!file.open(QIODevice::ReadOnly)) return {};
    const QByteArray bytes = file.readAll();
    const qsizetype data = bytes.indexOf("data");
    if (data < 0) return {};
    return bytes.mid(data + 8, qFromLittleEndian<quint32>(bytes.constData() + data + 4));
  }
  static QByteArray silence(double seconds) { return QByteArray(2 * qsizetype(seconds * 16000), '\0'); }
  static std::vector<float> asFloats(const QByteArray& pcm) {
    std::vector<float> samples(size_t(pcm.size() / 2));
    for (size_t i = 0; i < samples.size(); ++i)
      samples[i] = float(qFromLittleEndian<qint16>(pcm.constData() + 2 * i)) / 32768.0f;
    return samples;
  }
};

}  // namespace quillmere
