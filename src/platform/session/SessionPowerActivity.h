#pragma once
#include "platform/session/BusConnection.h"
#include "ports/PowerActivity.h"

namespace quillmere {

// Keeps the machine awake: logind's inhibitor lock, else the portal, else the desktop session's screen saver service.
// Asked for in the background; a token that goes before the answer came gives back what it still gets.
class SessionPowerActivity final : public PowerActivity {
 public:
  SessionPowerActivity(BusConnection& systemBus, BusConnection& sessionBus);
  ~SessionPowerActivity() override;
  std::unique_ptr<Token> begin(const QString& reason) override;

  enum class Means { none, logind, portal, screenSaver };
  // What the latest token was granted by; for diagnostics.
  Means lastMeans() const { return lastMeans_; }

 private:
  struct Hold;
  class HoldToken;
  Task<void> acquire(std::shared_ptr<Hold> hold, QString reason);
  Task<bool> askLogind(std::shared_ptr<Hold> hold, QString reason);
  Task<bool> askPortal(std::shared_ptr<Hold> hold, QString reason);
  Task<bool> askScreenSaver(std::shared_ptr<Hold> hold, QString reason);
  void release(Hold& hold);

  BusConnection& systemBus_;
  BusConnection& sessionBus_;
  Means lastMeans_ = Means::none;
  std::shared_ptr<SessionPowerActivity*> self_;
  TaskScope scope_;
};

}  // namespace quillmere
