#pragma once
#include <QString>
#include <vector>

#include "platform/session/BusConnection.h"
#include "ports/MediaPlayback.h"

namespace quillmere {

// Media players through MPRIS on the session bus. A player that still says "Playing" right after it was paused counts
// as paused: many take a moment.
class MprisMediaPlayback final : public MediaPlayback {
 public:
  explicit MprisMediaPlayback(BusConnection& sessionBus);
  void startListening() override;
  Task<int> pause() override;
  Task<void> play() override;

 private:
  struct Paused {
    QString owner;  // unique name on the bus: a restarted player is another one
    TimePoint at;
  };
  struct Player {
    QString owner;
    QString status;
  };
  Task<std::optional<Player>> ask(QString service);
  Task<bool> command(QString owner, QString method);
  Task<void> openBus();

  BusConnection& bus_;
  std::vector<Paused> paused_;
  TaskScope scope_;
};

}  // namespace quillmere
