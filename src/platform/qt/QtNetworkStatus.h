#pragma once
#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <chrono>
#include <functional>

#include "ports/NetworkStatus.h"

namespace quillmere {

// The online flag, told by NetworkManager over the system bus where one runs. Main thread; needs a running Qt event
// loop and never waits for the bus: until an answer has come, and without NetworkManager, the flag is true.
// NetworkManager calls a machine offline whose network others look after (a server's own configuration, a container),
// so its "disconnected" counts only while the system has no default route.
class QtNetworkStatus final : public QObject, public NetworkStatus {
  Q_OBJECT
 public:
  QtNetworkStatus();
  QtNetworkStatus(std::function<QDBusConnection()> bus, std::function<bool()> hasDefaultRoute,
                  std::chrono::milliseconds delay = {});
  bool isOnline() const override;

 private Q_SLOTS:
  void stateChanged(uint state);

 private:
  void listen(const std::function<QDBusConnection()>& bus);
  void askForState();

  QDBusConnection connection_{QString()};
  std::function<bool()> hasDefaultRoute_;
  bool isManagerConnected_ = true;
};

// Whether the routing tables of Linux name a way out (IPv4 or IPv6).
bool systemHasDefaultRoute();

}  // namespace quillmere
