#pragma once
#include <QByteArray>
#include <QFile>
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
  QString write(const QString& name, const QByteArray& bytes) const;
  QByteArray read(const QString& name) const;

  // A WAV file of 32-bit floats or 16-bit integers; the sample depends on the frame and the channel.
  using Wave = std::function<double(qint64 frame, int channel)>;
  static QByteArray wav(int sampleRate, int channels, qint64 frames, const Wave& wave, bool isFloat = false);
  static QByteArray wav(int sampleRate, int channels, const QByteArray& samples, bool isFloat = false);
  static Wave tone(double hertz, double sampleRate, double level = 0.5);

  // Runs the ffmpeg program; false when it fails (an encoder that it lacks).
  bool ffmpeg(const QStringList& arguments) const;

  // Level (amplitude) of one frequency in the samples.
  static double levelAt(std::span<const float> samples, double hertz, double sampleRate);
  static double rms(std::span<const float> samples);

 private:
  QTemporaryDir folder_;
};

}  // namespace quillmere
