#pragma once
#include <QByteArray>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QtEndian>
#include <cmath>
#include <functional>
#include <span>
#include <vector>

namespace quillmere {

// Media files for tests, in a folder that goes with the object.
class SampleMedia {
 public:
  QString path(const QString& name) const { return folder_.filePath(name); }

  // Writes the bytes and returns the path.
  QString write(const QString& name, const QByteArray& bytes) const {
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) qFatal("cannot write a sample file");
    return file.fileName();
  }
  QByteArray read(const QString& name) const {
    QFile file(path(name));
    if (!file.open(QIODevice::ReadOnly)) qFatal("cannot read a sample file");
    return file.readAll();
  }

  // A WAV file of 32-bit floats or 16-bit integers; the sample depends on the frame and the channel.
  using Wave = std::function<double(qint64 frame, int channel)>;
  static QByteArray wav(int sampleRate, int channels, qint64 frames, const Wave& wave, bool isFloat = false) {
    const auto bytesOf = [](auto value) {
      return QByteArray(reinterpret_cast<const char*>(&value), sizeof value);  // little endian as the file
    };
    const int bytes = isFloat ? 4 : 2;
    const auto size = quint32(frames * channels * bytes);
    QByteArray file = "RIFF" + bytesOf(36 + size) + "WAVEfmt " + bytesOf(quint32(16)) +
                      bytesOf(quint16(isFloat ? 3 : 1)) + bytesOf(quint16(channels)) + bytesOf(quint32(sampleRate)) +
                      bytesOf(quint32(sampleRate * channels * bytes)) + bytesOf(quint16(channels * bytes)) +
                      bytesOf(quint16(bytes * 8)) + "data" + bytesOf(size);
    file.reserve(file.size() + qsizetype(size));
    for (qint64 frame = 0; frame < frames; ++frame)
      for (int channel = 0; channel < channels; ++channel) {
        const double value = wave(frame, channel);
        const auto real = float(value);
        const auto integer = qint16(std::lround(value * 32767));
        file.append(isFloat ? reinterpret_cast<const char*>(&real) : reinterpret_cast<const char*>(&integer), bytes);
      }
    return file;
  }
  static Wave tone(double hertz, double sampleRate, double level = 0.5) {
    return [=](qint64 frame, int) { return level * std::sin(2 * M_PI * hertz * double(frame) / sampleRate); };
  }

  // Runs the ffmpeg program; false when it fails (an encoder that it lacks).
  bool ffmpeg(QStringList arguments) const {
    QProcess program;
    program.setWorkingDirectory(folder_.path());
    arguments =
        QStringList{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-nostdin"), QStringLiteral("-y")} +
        arguments;
    program.start(QStringLiteral("ffmpeg"), arguments);
    return program.waitForFinished(60000) && program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0;
  }

  // Level (amplitude) of one frequency in the samples.
  static double levelAt(std::span<const float> samples, double hertz, double sampleRate) {
    // A Hann window, so that what lies beside the frequency doesn't leak into it.
    double re = 0, im = 0, sum = 0;
    const auto count = double(samples.size());
    for (size_t i = 0; i < samples.size(); ++i) {
      const double window = 0.5 - 0.5 * std::cos(2 * M_PI * (double(i) + 0.5) / count);
      const double angle = 2 * M_PI * hertz * double(i) / sampleRate;
      re += window * double(samples[i]) * std::cos(angle);
      im += window * double(samples[i]) * std::sin(angle);
      sum += window;
    }
    return 2 * std::hypot(re, im) / sum;
  }
  static double rms(std::span<const float> samples) {
    double sum = 0;
    for (const float sample : samples) sum += double(sample) * double(sample);
    return samples.empty() ? 0 : std::sqrt(sum / double(samples.size()));
  }

 private:
  QTemporaryDir folder_;
};

}  // namespace quillmere
