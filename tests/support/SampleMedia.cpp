#include "support/SampleMedia.h"

#include <QProcess>

#include "support/Files.h"

namespace quillmere {

QString SampleMedia::write(const QString& name, const QByteArray& bytes) const {
  return writeFile(path(name), bytes);
}

QByteArray SampleMedia::read(const QString& name) const {
  return readFile(path(name));
}

QByteArray SampleMedia::wav(int sampleRate, int channels, const QByteArray& samples, bool isFloat) {
  const auto bytesOf = [](auto value) {
    return QByteArray(reinterpret_cast<const char*>(&value), sizeof value);  // little endian as the file
  };
  const int bytes = isFloat ? 4 : 2;
  const auto size = quint32(samples.size());
  return "RIFF" + bytesOf(36 + size) + "WAVEfmt " + bytesOf(quint32(16)) + bytesOf(quint16(isFloat ? 3 : 1)) +
         bytesOf(quint16(channels)) + bytesOf(quint32(sampleRate)) + bytesOf(quint32(sampleRate * channels * bytes)) +
         bytesOf(quint16(channels * bytes)) + bytesOf(quint16(bytes * 8)) + "data" + bytesOf(size) + samples;
}

QByteArray SampleMedia::wav(int sampleRate, int channels, qint64 frames, const Wave& wave, bool isFloat) {
  QByteArray samples;
  samples.reserve(qsizetype(frames) * channels * 4);
  for (qint64 frame = 0; frame < frames; ++frame) {
    for (int channel = 0; channel < channels; ++channel) {
      const double value = wave(frame, channel);
      const auto real = float(value);
      const auto integer = qint16(std::lround(value * 32767));
      isFloat ? samples.append(reinterpret_cast<const char*>(&real), sizeof real)
              : samples.append(reinterpret_cast<const char*>(&integer), sizeof integer);
    }
  }
  return wav(sampleRate, channels, samples, isFloat);
}

SampleMedia::Wave SampleMedia::tone(double hertz, double sampleRate, double level) {
  return [=](qint64 frame, int) { return level * std::sin(2 * M_PI * hertz * double(frame) / sampleRate); };
}

bool SampleMedia::ffmpeg(const QStringList& arguments) const {
  QProcess program;
  program.setWorkingDirectory(folder_.path());
  program.start("ffmpeg", QStringList{"-v", "error", "-nostdin", "-y"} + arguments);
  return program.waitForFinished(60000) && program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0;
}

double SampleMedia::levelAt(std::span<const float> samples, double hertz, double sampleRate) {
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

double SampleMedia::rms(std::span<const float> samples) {
  double sum = 0;
  for (const float sample : samples) sum += double(sample) * double(sample);
  return samples.empty() ? 0 : std::sqrt(sum / double(samples.size()));
}

}  // namespace quillmere
