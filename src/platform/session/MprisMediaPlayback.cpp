#include "platform/session/MprisMediaPlayback.h"

#include <QDBusVariant>
#include <QSet>

#include "base/async/Combinators.h"

namespace quillmere {
namespace {

constexpr Duration stepLimit = std::chrono::milliseconds(300);
// So long a player may take until it says that it is paused.
constexpr Duration settlingTime = std::chrono::seconds(2);
const QString namePrefix = QStringLiteral("org.mpris.MediaPlayer2.");
const QString playerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");
const QString playerPath = QStringLiteral("/org/mpris/MediaPlayer2");

}  // namespace

MprisMediaPlayback::MprisMediaPlayback(BusConnection& sessionBus) : bus_(sessionBus), scope_(sessionBus.executor()) {}

void MprisMediaPlayback::startListening() {
  scope_.spawn(openBus());
}

// The first pause then finds the bus open.
Task<void> MprisMediaPlayback::openBus() {
  co_await bus_.get(stepLimit);
}

Task<int> MprisMediaPlayback::pause() {
  const std::optional<QDBusMessage> names = co_await bus_.call(
      QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                                     QStringLiteral("org.freedesktop.DBus"), QStringLiteral("ListNames")),
      stepLimit);
  if (!names) co_return 0;
  std::vector<Task<std::optional<Player>>> questions;
  for (const QString& name : names->arguments().value(0).toStringList()) {
    // playerctld repeats another player.
    const bool isPlayer = name.startsWith(namePrefix) && name != namePrefix + QStringLiteral("playerctld");
    if (isPlayer) questions.push_back(ask(name));
  }
  const std::vector<std::optional<Player>> players = co_await whenAll(std::move(questions));
  std::vector<Task<bool>> commands;
  QSet<QString> owners;  // one player may have several names
  for (const auto& player : players) {
    if (!player || player->status != QStringLiteral("Playing") || owners.contains(player->owner)) continue;
    owners.insert(player->owner);
    std::erase_if(paused_, [&](const Paused& known) { return known.owner == player->owner; });
    paused_.push_back({player->owner, bus_.executor().now()});
    commands.push_back(command(player->owner, QStringLiteral("Pause")));
  }
  const std::vector<bool> done = co_await whenAll(std::move(commands));
  co_return int(std::count(done.begin(), done.end(), true));
}

Task<void> MprisMediaPlayback::play() {
  const std::vector<Paused> paused = std::exchange(paused_, {});
  std::vector<Task<std::optional<Player>>> questions;
  for (const Paused& player : paused) questions.push_back(ask(player.owner));
  const std::vector<std::optional<Player>> players = co_await whenAll(std::move(questions));
  std::vector<Task<bool>> commands;
  const TimePoint now = bus_.executor().now();
  for (size_t i = 0; i < players.size(); ++i) {
    if (!players[i]) continue;
    const bool isSettling = players[i]->status == QStringLiteral("Playing") && now - paused[i].at < settlingTime;
    if (players[i]->status == QStringLiteral("Paused") || isSettling)
      commands.push_back(command(paused[i].owner, QStringLiteral("Play")));
  }
  co_await whenAll(std::move(commands));
}

Task<std::optional<MprisMediaPlayback::Player>> MprisMediaPlayback::ask(QString service) {
  auto question = QDBusMessage::createMethodCall(service, playerPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                                                 QStringLiteral("Get"));
  question.setAutoStartService(false);
  question << playerInterface << QStringLiteral("PlaybackStatus");
  const std::optional<QDBusMessage> reply = co_await bus_.call(question, stepLimit);
  if (!reply) co_return std::nullopt;
  const QString status = reply->arguments().value(0).value<QDBusVariant>().variant().toString();
  co_return Player{reply->service(), status};
}

Task<bool> MprisMediaPlayback::command(QString owner, QString method) {
  auto message = QDBusMessage::createMethodCall(owner, playerPath, playerInterface, method);
  message.setAutoStartService(false);
  const std::optional<QDBusMessage> reply = co_await bus_.call(message, stepLimit);
  co_return reply.has_value();
}

}  // namespace quillmere
