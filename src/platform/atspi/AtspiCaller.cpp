#include "platform/atspi/AtspiCaller.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <algorithm>

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr auto callLimit = 250ms;
constexpr auto limitForSilentProgram = 50ms;
constexpr auto silenceIsRemembered = 2s;

bool isTimeout(const QDBusMessage& message) {
  const QString name = message.errorName();
  return name == QLatin1String("org.freedesktop.DBus.Error.NoReply") ||
         name == QLatin1String("org.freedesktop.DBus.Error.Timeout") ||
         name == QLatin1String("org.freedesktop.DBus.Error.TimedOut");
}

}  // namespace

AtspiCaller::AtspiCaller(QDBusConnection connection, Clock::time_point deadline, SilentPrograms& silentPrograms,
                         const std::atomic<bool>& isEnding)
    : connection_(std::move(connection)),
      begin_(Clock::now()),
      deadline_(deadline),
      silentPrograms_(silentPrograms),
      isEnding_(isEnding) {
  std::erase_if(silentPrograms_, [this](const auto& entry) { return begin_ - entry.second > silenceIsRemembered; });
}

bool AtspiCaller::isOutOfTime() const {
  return isEnding_ || Clock::now() >= deadline_;
}

int AtspiCaller::limitFor(const QString& program) const {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now());
  // A program that hangs must leave time for the others.
  const auto most = std::min<std::chrono::milliseconds>(
      callLimit, std::max<std::chrono::milliseconds>(
                     std::chrono::ceil<std::chrono::milliseconds>((deadline_ - begin_) * 6 / 10), 20ms));
  const auto limit =
      silentPrograms_.contains(program) ? std::min<std::chrono::milliseconds>(most, limitForSilentProgram) : most;
  return int(std::clamp<std::chrono::milliseconds>(left, 1ms, limit).count());
}

std::optional<QDBusPendingCall> AtspiCaller::send(const AtspiReference& target, const char* interface,
                                                  const char* method, const QVariantList& arguments) {
  if (target.isNull() || isOutOfTime() || leftOut_.contains(target.bus)) return std::nullopt;
  QDBusMessage message =
      QDBusMessage::createMethodCall(target.bus, target.path, QLatin1String(interface), QLatin1String(method));
  message.setArguments(arguments);
  message.setAutoStartService(false);
  return connection_.asyncCall(message, limitFor(target.bus));
}

std::optional<QVariantList> AtspiCaller::answer(const AtspiReference& target, std::optional<QDBusPendingCall>& call) {
  if (!call) return std::nullopt;
  // What is left out isn't waited for again: its other calls end by their own limits.
  if (!call->isFinished() && (leftOut_.contains(target.bus) || isEnding_)) return std::nullopt;
  call->waitForFinished();
  const QDBusMessage reply = call->reply();
  if (reply.type() == QDBusMessage::ReplyMessage) {
    silentPrograms_.erase(target.bus);
    return reply.arguments();
  }
  if (isTimeout(reply)) {
    leftOut_.insert(target.bus);
    silentPrograms_[target.bus] = Clock::now();
  }
  return std::nullopt;
}

std::optional<QVariantList> AtspiCaller::call(const AtspiReference& target, const char* interface, const char* method,
                                              const QVariantList& arguments) {
  auto pending = send(target, interface, method, arguments);
  return answer(target, pending);
}

std::optional<QVariant> AtspiCaller::property(const AtspiReference& target, const char* interface, const char* name) {
  const auto arguments = call(target, "org.freedesktop.DBus.Properties", "Get",
                              {QString::fromLatin1(interface), QString::fromLatin1(name)});
  if (!arguments || arguments->isEmpty()) return std::nullopt;
  return arguments->first().value<QDBusVariant>().variant();
}

std::optional<AtspiReference> AtspiCaller::reference(const QVariant& value) {
  if (!value.canConvert<QDBusArgument>()) return std::nullopt;
  const auto argument = value.value<QDBusArgument>();
  if (argument.currentSignature() != QLatin1String("(so)")) return std::nullopt;
  AtspiReference found;
  QDBusObjectPath path;
  argument.beginStructure();
  argument >> found.bus >> path;
  argument.endStructure();
  found.path = path.path();
  if (found.isNull()) return std::nullopt;
  return found;
}

std::vector<AtspiReference> AtspiCaller::references(const QVariant& list) {
  std::vector<AtspiReference> found;
  if (!list.canConvert<QDBusArgument>()) return found;
  const auto argument = list.value<QDBusArgument>();
  if (argument.currentSignature() != QLatin1String("a(so)")) return found;
  argument.beginArray();
  while (!argument.atEnd()) {
    AtspiReference each;
    QDBusObjectPath path;
    argument.beginStructure();
    argument >> each.bus >> path;
    argument.endStructure();
    each.path = path.path();
    if (!each.isNull()) found.push_back(std::move(each));
  }
  argument.endArray();
  return found;
}

std::optional<quint64> AtspiCaller::stateBits(const QVariantList& arguments) {
  if (arguments.isEmpty() || !arguments.first().canConvert<QDBusArgument>()) return std::nullopt;
  const auto argument = arguments.first().value<QDBusArgument>();
  if (argument.currentSignature() != QLatin1String("au")) return std::nullopt;
  QList<quint32> words;
  argument >> words;
  if (words.size() < 2) return std::nullopt;
  return quint64(words[0]) | quint64(words[1]) << 32;
}

std::vector<AtspiReference> AtspiCaller::children(const AtspiReference& target) {
  const auto arguments = call(target, "org.a11y.atspi.Accessible", "GetChildren");
  return arguments && !arguments->isEmpty() ? references(arguments->first()) : std::vector<AtspiReference>();
}

std::optional<quint64> AtspiCaller::states(const AtspiReference& target) {
  const auto arguments = call(target, "org.a11y.atspi.Accessible", "GetState");
  return arguments ? stateBits(*arguments) : std::nullopt;
}

}  // namespace quillmere
