// Whole-process cost of `quillmere transcribe` over the speech engine's own command-line program, built from the same
// source: same model, same audio, same threads, the two in turn. Budgets: 1.03 of its time and 1.10 of its memory.
//
//   TranscribeBench QUILLMERE WHISPER_CLI MODEL CLIP [ROUNDS]
//
// CLIP is a 16 kHz WAV file; it is measured as it is and repeated to ten minutes.
#include <QDir>
#include <QThread>
#include <cstdio>
#include <cstdlib>

#include "bench/ProcessTiming.h"
#include "support/SampleMedia.h"

namespace {

using namespace quillmere;

// The clip's samples (16 bit, 16 kHz, mono) again and again up to `seconds`, with a plain header.
QByteArray repeated(const QByteArray& wav, int seconds) {
  const QByteArray samples = wav.mid(wav.indexOf("data") + 8);
  QByteArray body;
  while (body.size() < seconds * 32000) body += samples;
  body.truncate(seconds * 32000);
  return SampleMedia::wav(16000, 1, body);
}

void compare(const char* title, const std::vector<std::string>& ours, const std::vector<std::string>& theirs,
             int rounds) {
  std::vector<double> wall, memory, ourWall, theirWall;
  timeProcess(ours);
  timeProcess(theirs);
  for (int round = 0; round < rounds; ++round) {
    const auto a = timeProcess(ours);
    const auto b = timeProcess(theirs);
    if (a.exitCode != 0 || b.exitCode != 0) {
      std::printf("%s: exit codes %d and %d\n", title, a.exitCode, b.exitCode);
      return;
    }
    wall.push_back(a.wallSeconds / b.wallSeconds);
    memory.push_back(a.peakMegabytes / b.peakMegabytes);
    ourWall.push_back(a.wallSeconds);
    theirWall.push_back(b.wallSeconds);
  }
  std::printf("%s: time ratio %.3f (%.2f s over %.2f s), memory ratio %.3f, medians of %d pairs\n", title, median(wall),
              median(ourWall), median(theirWall), median(memory), rounds);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) {
    std::fprintf(stderr, "usage: TranscribeBench QUILLMERE WHISPER_CLI MODEL CLIP [ROUNDS]\n");
    return 2;
  }
  const int rounds = argc > 5 ? std::atoi(argv[5]) : 5;
  QTemporaryDir home;
  for (const char* name : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME"})
    qputenv(name, home.path().toUtf8());
  // The other program does not trim silence, so that both engines get the same samples.
  if (timeProcess({argv[1], "settings", "set", "enableVAD", "false"}).exitCode != 0) return 2;
  QFile clip(QString::fromLocal8Bit(argv[4]));
  if (!clip.open(QIODevice::ReadOnly)) return 2;
  const QByteArray wav = clip.readAll();
  const QString longPath = home.filePath("ten-minutes.wav");
  QFile longClip(longPath);
  if (!longClip.open(QIODevice::WriteOnly) || longClip.write(repeated(wav, 600)) < 0) return 2;
  longClip.close();

  // The program's own rule for the engine's threads; its other parameters are the engine's defaults for greedy
  // decoding, five candidates among them, at a temperature of 0.2.
  const std::string threads = std::to_string(std::clamp(QThread::idealThreadCount() - 2, 1, 8));
  const std::string model = argv[3];
  for (const auto& [title, file] :
       {std::pair{"clip", std::string(argv[4])}, std::pair{"ten minutes", longPath.toStdString()}}) {
    const std::vector<std::string> ours{argv[1], "transcribe", file, "--model", model, "--language", "en", "--quiet"};
    const std::vector<std::string> theirs{argv[2], "-m",  model, "-f",  file, "-l",  "en",  "-t",
                                          threads, "-bs", "1",   "-bo", "5",  "-tp", "0.2", "-np"};
    compare(title, ours, theirs, file == argv[4] ? rounds : 1);
  }
  std::vector<double> start;
  for (int round = 0; round < 20; ++round) start.push_back(timeProcess({argv[1], "--version"}).wallSeconds * 1000);
  std::printf("--version: median %.1f ms of 20\n", median(start));
  return 0;
}
