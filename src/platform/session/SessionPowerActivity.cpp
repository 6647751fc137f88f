#include "platform/session/SessionPowerActivity.h"

#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QVariantMap>
#include <variant>

#include "base/async/Combinators.h"

namespace quillmere {
namespace {

constexpr Duration lockLimit = std::chrono::milliseconds(500);
// These two may have to be started first, and what they grant late could not be given back.
constexpr Duration serviceLimit = std::chrono::seconds(5);
const QString applicationName = QStringLiteral("Quillmere");
const QString portal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString screenSaver = QStringLiteral("org.freedesktop.ScreenSaver");
const QString screenSaverPath = QStringLiteral("/org/freedesktop/ScreenSaver");

}  // namespace

struct SessionPowerActivity::Hold {
  bool isReleased = false;
  std::variant<std::monostate, QDBusUnixFileDescriptor, QDBusObjectPath, uint> grant;
};

class SessionPowerActivity::HoldToken final : public Token {
 public:
  HoldToken(std::shared_ptr<Hold> hold, std::weak_ptr<SessionPowerActivity*> owner)
      : hold_(std::move(hold)), owner_(std::move(owner)) {}
  HoldToken(const HoldToken&) = delete;
  HoldToken& operator=(const HoldToken&) = delete;
  ~HoldToken() override {
    hold_->isReleased = true;
    if (const auto owner = owner_.lock()) (*owner)->release(*hold_);
  }

 private:
  std::shared_ptr<Hold> hold_;
  std::weak_ptr<SessionPowerActivity*> owner_;
};

SessionPowerActivity::SessionPowerActivity(BusConnection& systemBus, BusConnection& sessionBus)
    : systemBus_(systemBus),
      sessionBus_(sessionBus),
      self_(std::make_shared<SessionPowerActivity*>(this)),
      scope_(sessionBus.executor()) {}

SessionPowerActivity::~SessionPowerActivity() = default;

std::unique_ptr<PowerActivity::Token> SessionPowerActivity::begin(const QString& reason) {
  auto hold = std::make_shared<Hold>();
  scope_.spawn(acquire(hold, reason));
  return std::make_unique<HoldToken>(std::move(hold), self_);
}

Task<void> SessionPowerActivity::acquire(std::shared_ptr<Hold> hold, QString reason) {
  if (hold->isReleased) co_return;
  lastMeans_ = Means::none;
  auto logind = askLogind(hold, reason);
  if (co_await std::move(logind)) {
    lastMeans_ = Means::logind;
  } else {
    if (co_await askPortal(hold, reason)) {
      lastMeans_ = Means::portal;
    } else {
      if (co_await askScreenSaver(hold, reason)) lastMeans_ = Means::screenSaver;
    }
  }
  if (hold->isReleased) release(*hold);
}

Task<bool> SessionPowerActivity::askLogind(std::shared_ptr<Hold> hold, QString reason) {
  auto message = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
      QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("Inhibit"));
  message << QStringLiteral("idle:sleep") << applicationName << reason << QStringLiteral("block");
  const std::optional<QDBusMessage> reply = co_await systemBus_.call(message, lockLimit);
  if (!reply) co_return false;
  const auto lock = reply->arguments().value(0).value<QDBusUnixFileDescriptor>();
  if (!lock.isValid()) co_return false;
  hold->grant = lock;
  co_return true;
}

Task<bool> SessionPowerActivity::askPortal(std::shared_ptr<Hold> hold, QString reason) {
  constexpr uint suspend = 4, idle = 8;
  auto message =
      QDBusMessage::createMethodCall(portal, QStringLiteral("/org/freedesktop/portal/desktop"),
                                     QStringLiteral("org.freedesktop.portal.Inhibit"), QStringLiteral("Inhibit"));
  message << QString() << (suspend | idle) << QVariantMap{{QStringLiteral("reason"), reason}};
  const std::optional<QDBusMessage> reply = co_await sessionBus_.call(message, serviceLimit);
  if (!reply) co_return false;
  hold->grant = reply->arguments().value(0).value<QDBusObjectPath>();
  co_return true;
}

Task<bool> SessionPowerActivity::askScreenSaver(std::shared_ptr<Hold> hold, QString reason) {
  auto message = QDBusMessage::createMethodCall(screenSaver, screenSaverPath, screenSaver, QStringLiteral("Inhibit"));
  message << applicationName << reason;
  const std::optional<QDBusMessage> reply = co_await sessionBus_.call(message, serviceLimit);
  if (!reply) co_return false;
  hold->grant = reply->arguments().value(0).toUInt();
  co_return true;
}

void SessionPowerActivity::release(Hold& hold) {
  const auto grant = std::exchange(hold.grant, {});  // logind's lock ends with its descriptor
  if (const auto* request = std::get_if<QDBusObjectPath>(&grant)) {
    sessionBus_.send(QDBusMessage::createMethodCall(
        portal, request->path(), QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Close")));
  } else if (const auto* cookie = std::get_if<uint>(&grant)) {
    auto message =
        QDBusMessage::createMethodCall(screenSaver, screenSaverPath, screenSaver, QStringLiteral("UnInhibit"));
    message << *cookie;
    sessionBus_.send(message);
  }
}

}  // namespace quillmere
