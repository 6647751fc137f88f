#pragma once
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>

namespace quillmere {

// A sound server of the test's own, on a private socket: the output "speakers", and the microphone "virtual_mic" that
// hears what is played into the output "mic_feed". Needs pulseaudio, pactl and paplay; see isAvailable().
class PulseServer {
 public:
  PulseServer();
  PulseServer(const PulseServer&) = delete;
  PulseServer& operator=(const PulseServer&) = delete;
  ~PulseServer();

  static bool isAvailable();

  // Starts the server and waits until it answers. Also again, after kill() or terminate().
  bool start();
  // kill -9, and the polite way; both wait for the end.
  void kill();
  void terminate();
  // A server that is there and does not answer.
  void setFrozen(bool isFrozen);

  QString address() const;  // for a client's server option or PULSE_SERVER

  // Runs pactl; its output, trimmed. `ok` tells whether it succeeded.
  QString pactl(const QStringList& arguments, bool* ok = nullptr);
  // Number of the new module, or -1.
  int loadModule(const QStringList& arguments);
  bool unloadModule(int number);
  // A second microphone, fed by its own output NAME_feed; the number of the module whose removal takes it along.
  int plugIn(const QString& name, const QString& properties = "device.bus=usb");
  // Plays a WAV file into an output until it ends or the object goes.
  std::shared_ptr<QProcess> play(const QString& wavPath, const QString& sink = "mic_feed");

 private:
  QProcessEnvironment environment() const;

  QTemporaryDir folder_;
  QProcess daemon_;
};

}  // namespace quillmere
