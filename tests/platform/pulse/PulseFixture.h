#pragma once
#include <sndfile.h>

#include <QDir>
#include <QFile>
#include <QTcpServer>
#include <QTemporaryDir>
#include <cmath>

#include "platform/pulse/PulseAudioDevices.h"
#include "platform/pulse/PulseAudioRecorderFactory.h"
#include "support/InLoop.h"
#include "support/PulseServer.h"
#include "support/SampleMedia.h"
#include "support/TestTexts.h"
#include "support/WaitUntil.h"

namespace quillmere {

// What a strict reader sees of a recording.
struct RecordedWave {
  explicit RecordedWave(const QString& path) {
    SF_INFO info{};
    SNDFILE* const file = sf_open(QFile::encodeName(path).constData(), SFM_READ, &info);
    if (!file) return;
    isAsPromised = info.samplerate == 16000 && info.channels == 1 && info.format == (SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    samples.resize(size_t(info.frames));
    sf_readf_float(file, samples.data(), info.frames);
    sf_close(file);
    // The header tells of everything that stands in the file.
    isComplete = QFile(path).size() == 44 + info.frames * 2;
  }
  double seconds() const { return double(samples.size()) / 16000; }

  // Samples that don't follow from the two before them as in a tone of this frequency: a cut, a hole or a repetition
  // shows. Counted from the first 0.3 s of the tone to the end.
  int faultsInTone(double hertz) const {
    size_t at = 0;
    while (at < samples.size() && std::abs(samples[at]) < 0.2f) ++at;
    const double factor = 2 * std::cos(2 * M_PI * hertz / 16000);
    int faults = 0;
    for (size_t i = at + 4800; i + 1 < samples.size(); ++i)
      if (std::abs(samples[i + 1] - (factor * samples[i] - samples[i - 1])) > 0.02) ++faults;
    return faults;
  }
  std::vector<float> lastSeconds(double length) const {
    const size_t count = std::min(samples.size(), size_t(length * 16000));
    return {samples.end() - qsizetype(count), samples.end()};
  }

  bool isAsPromised = false;
  bool isComplete = false;
  std::vector<float> samples;
};

// A private sound server and the adapters on it.
struct PulseRoom : InLoop {
  static bool isAvailable() { return PulseServer::isAvailable(); }
  bool start() {
    if (!server.start()) return false;
    connect(server.address());
    return true;
  }

  static PulseConnection::Options at(const QString& address) {
    PulseConnection::Options options;
    options.server = address;
    options.mayStartServer = false;
    options.firstPause = std::chrono::milliseconds(20);
    options.longestPause = std::chrono::milliseconds(200);
    return options;
  }
  // The adapters anew, on this address of the server.
  void connect(const QString& address) {
    factory.reset();
    devices.reset();
    connection = std::make_unique<PulseConnection>(executor, Logging(), at(address));
    devices = std::make_unique<PulseAudioDevices>(*connection);
    factory = std::make_unique<PulseAudioRecorderFactory>(*connection, *devices);
  }
  // A port of this machine for servePort().
  static QString freePort() {
    QTcpServer finder;
    EXPECT_TRUE(finder.listen(QHostAddress::LocalHost));
    return QString::number(finder.serverPort());
  }
  static QString addressOf(const QString& port) { return "tcp:127.0.0.1:" + port; }
  // Opens the port to those whom the option lets in; the number of the module.
  int servePort(const QString& port, const QString& option) {
    return server.loadModule({"module-native-protocol-tcp", "listen=127.0.0.1", "port=" + port, option});
  }
  bool waitUntilListed() { return run(devices->waitUntilReady()); }
  QString recordingPath(const char* name = "take.wav") const { return folder.filePath(QString::fromLatin1(name)); }
  // Plays a tone of half the full scale until the process goes.
  std::shared_ptr<QProcess> playTone(double hertz, const QString& sink = QStringLiteral("mic_feed")) {
    const QString name = QStringLiteral("tone%1.wav").arg(hertz);
    if (!QFile::exists(media.path(name)))
      media.write(name, SampleMedia::wav(48000, 1, 60 * 48000, [hertz](qint64 frame, int) {
                    return 0.5 * std::sin(2 * M_PI * hertz * double(frame) / 48000);
                  }));
    return server.play(media.path(name), sink);
  }
  std::unique_ptr<PulseAudioRecorder> startedRecorder(const QString& path) {
    auto recorder = factory->createRecorder();
    const auto result = run(recorder->record(path));
    EXPECT_TRUE(result) << (result ? "" : qPrintable(result.error().description));
    return recorder;
  }
  bool waitForSound(AudioRecorder& recorder) {
    return waitUntil([&] { return recorder.averagePowerDecibels() > -12; });
  }
  bool isCaptured() { return server.pactl({"list", "source-outputs"}).contains("Dictation"); }
  bool waitForSeconds(const AudioRecorder& recorder, double seconds) {
    return waitUntil([&] { return recorder.recordedSeconds() >= seconds; });
  }

  TestTexts texts;
  QTemporaryDir folder;
  SampleMedia media;
  PulseServer server;
  std::unique_ptr<PulseConnection> connection;
  std::unique_ptr<PulseAudioDevices> devices;
  std::unique_ptr<PulseAudioRecorderFactory> factory;
};

class PulseTest : public testing::Test, protected PulseRoom {
 protected:
  void SetUp() override {
    if (!isAvailable()) GTEST_SKIP() << "pulseaudio, pactl and paplay are needed";
    ASSERT_TRUE(start());
  }
};

}  // namespace quillmere
