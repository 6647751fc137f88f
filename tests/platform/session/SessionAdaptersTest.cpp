#include <fcntl.h>
#include <unistd.h>

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>
#include <QDBusVirtualObject>

#include "platform/qt/QtExecutor.h"
#include "platform/session/MprisMediaPlayback.h"
#include "platform/session/SessionPowerActivity.h"
#include "support/RunTask.h"
#include "support/SessionBus.h"
#include "support/WaitUntil.h"

namespace quillmere {
namespace {

// A player or a service: notes every call as "member(arguments)" and answers as told.
class ServiceDouble final : public QDBusVirtualObject {
 public:
  using Answer = std::function<QVariant(const QDBusMessage&)>;
  std::map<QString, Answer> answers;  // by member; others get an empty reply
  bool isMute = false;
  QStringList calls;
  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    QStringList arguments;
    for (const QVariant& argument : message.arguments())
      if (argument.canConvert<QString>()) arguments << argument.toString();
    calls << QStringLiteral("%1(%2)").arg(message.member(), arguments.join(','));
    if (isMute) return true;
    const auto answer = answers.find(message.member());
    connection.send(answer == answers.end() ? message.createReply() : message.createReply(answer->second(message)));
    return true;
  }
  qsizetype count(const QString& call) const { return calls.count(call); }
};

class SessionAdaptersTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!SessionBus::isAvailable()) GTEST_SKIP() << "dbus-daemon is needed";
    ASSERT_TRUE(bus.start());
  }
  void TearDown() override {
    for (const QString& name : names) QDBusConnection::disconnectFromBus(name);
  }
  QDBusConnection connect() {
    names << QStringLiteral("adapters-%1-%2").arg(bus.address()).arg(names.size());
    return QDBusConnection::connectToBus(bus.address(), names.last());
  }
  BusConnection::Open opener() {
    const QString name = QStringLiteral("client-%1").arg(bus.address());
    names << name;
    return [address = bus.address(), name] { return QDBusConnection::connectToBus(address, name); };
  }
  static BusConnection::Open nobody() {
    return [] { return QDBusConnection::connectToBus("unix:path=/nonexistent/bus", "nobody"); };
  }
  template <typename T>
  T run(Task<T> task) {
    return runTaskInLoop(executor, std::move(task));
  }
  SessionBus bus;
  QStringList names;
  QtExecutor executor;
  WorkerPool workers{1, "bus"};
};

struct Player {
  Player(QDBusConnection on, const QString& name, const QString& state) : connection(std::move(on)), status(state) {
    const auto become = [this](const char* to) {
      return [this, to](const QDBusMessage&) {
        if (!isStubborn) status = QString::fromLatin1(to);
        return QVariant(QString());
      };
    };
    service.answers["Get"] = [this](const QDBusMessage&) { return QVariant::fromValue(QDBusVariant(status)); };
    service.answers["Pause"] = become("Paused");
    service.answers["Play"] = become("Playing");
    connection.registerVirtualObject("/org/mpris/MediaPlayer2", &service);
    addName(name);
  }
  void addName(const QString& name) { connection.registerService("org.mpris.MediaPlayer2." + name); }
  QDBusConnection connection;
  QString status;
  bool isStubborn = false;
  ServiceDouble service;
};

TEST_F(SessionAdaptersTest, OnlyWhatPlaysIsPausedAndOnlyOursIsResumed) {
  Player playing(connect(), "one", "Playing");
  playing.addName("one.instance7");
  Player paused(connect(), "two", "Paused");
  Player stopped(connect(), "three", "Stopped");
  Player stoppedByUser(connect(), "five", "Playing");
  Player leaving(connect(), "six", "Playing");
  Player mirror(connect(), "playerctld", "Playing");
  Player dead(connect(), "seven", "Playing");
  dead.service.isMute = true;
  // A browser answers at once and stops a little later: a short recording must not leave it silent.
  Player slow(connect(), "eight", "Playing");
  slow.isStubborn = true;

  BusConnection session(executor, workers, opener());
  MprisMediaPlayback media(session);
  media.startListening();
  EXPECT_EQ(run(media.pause()), 4);
  EXPECT_EQ(playing.service.count("Pause()"), 1) << "a player with two names";
  for (const Player* other : {&paused, &stopped, &mirror}) EXPECT_EQ(other->service.count("Pause()"), 0);

  stoppedByUser.status = "Stopped";
  leaving.connection.unregisterService("org.mpris.MediaPlayer2.six");
  leaving.connection.unregisterObject("/org/mpris/MediaPlayer2");
  run(media.play());
  for (const Player* ours : {&playing, &slow}) EXPECT_EQ(ours->service.count("Play()"), 1);
  for (const Player* other : {&paused, &stopped, &mirror, &stoppedByUser, &leaving})
    EXPECT_EQ(other->service.count("Play()"), 0);
  EXPECT_EQ(playing.status, "Playing");
  run(media.play());
  EXPECT_EQ(playing.service.count("Play()"), 1) << "once";
}

TEST_F(SessionAdaptersTest, WithoutABusNothingHappensAndABusThatComesBackIsFound) {
  BusConnection none(executor, workers, nobody());
  MprisMediaPlayback nothing(none);
  EXPECT_EQ(run(nothing.pause()), 0);
  run(nothing.play());

  int opened = 0;
  BusConnection session(executor, workers, [this, &opened] {
    const QString name = QStringLiteral("again-%1").arg(++opened);
    return QDBusConnection::connectToBus(bus.address(), name);
  });
  MprisMediaPlayback media(session);
  EXPECT_EQ(run(media.pause()), 0);
  bus.stop();
  ASSERT_TRUE(bus.start());
  Player player(connect(), "late", "Playing");
  int paused = 0;  // until the loss of the old bus has been noticed
  for (int attempt = 0; attempt < 1000 && paused == 0; ++attempt) paused = run(media.pause());
  EXPECT_EQ(paused, 1);
  EXPECT_GE(opened, 2);
  for (int i = 1; i <= opened; ++i) QDBusConnection::disconnectFromBus(QStringLiteral("again-%1").arg(i));
}

struct PowerServices {
  explicit PowerServices(QDBusConnection on) : connection(std::move(on)) {}
  void offerLogind() {
    logind.answers["Inhibit"] = [this](const QDBusMessage&) {
      int ends[2];
      if (::pipe(ends) != 0) std::abort();
      readEnd = ends[0];
      const QDBusUnixFileDescriptor lock(ends[1]);
      ::close(ends[1]);
      return QVariant::fromValue(lock);
    };
    connection.registerVirtualObject("/org/freedesktop/login1", &logind);
    connection.registerService("org.freedesktop.login1");
  }
  void offerPortal() {
    portal.answers["Inhibit"] = [](const QDBusMessage&) {
      return QVariant::fromValue(QDBusObjectPath("/org/freedesktop/portal/desktop/request/1"));
    };
    connection.registerVirtualObject("/org/freedesktop/portal", &portal, QDBusConnection::SubPath);
    connection.registerService("org.freedesktop.portal.Desktop");
  }
  void offerScreenSaver() {
    screenSaver.answers["Inhibit"] = [](const QDBusMessage&) { return QVariant(42u); };
    connection.registerVirtualObject("/org/freedesktop/ScreenSaver", &screenSaver);
    connection.registerService("org.freedesktop.ScreenSaver");
  }
  // The lock is gone when nobody holds the other end.
  bool isLockGone() const {
    char byte = 0;
    ::fcntl(readEnd, F_SETFL, O_NONBLOCK);
    return ::read(readEnd, &byte, 1) == 0;
  }
  QDBusConnection connection;
  ServiceDouble logind, portal, screenSaver;
  int readEnd = -1;
};

using Means = SessionPowerActivity::Means;

TEST_F(SessionAdaptersTest, LogindsLockIsHeldAsLongAsTheToken) {
  PowerServices services(connect());
  services.offerLogind();
  services.offerPortal();
  BusConnection onBus(executor, workers, opener());
  SessionPowerActivity power(onBus, onBus);
  auto token = power.begin("Recording");
  ASSERT_TRUE(waitUntil([&] { return power.lastMeans() == Means::logind; }));
  EXPECT_EQ(services.logind.calls, QStringList{"Inhibit(idle:sleep,Quillmere,Recording,block)"});
  EXPECT_TRUE(services.portal.calls.isEmpty());
  EXPECT_FALSE(services.isLockGone());
  token.reset();
  EXPECT_TRUE(waitUntil([&] { return services.isLockGone(); }));
}

TEST_F(SessionAdaptersTest, ThePortalAndThenTheScreenSaverStandIn) {
  PowerServices services(connect());
  services.offerPortal();
  BusConnection systemBus(executor, workers, nobody());
  BusConnection session(executor, workers, opener());
  SessionPowerActivity power(systemBus, session);
  auto token = power.begin("Recording");
  ASSERT_TRUE(waitUntil([&] { return power.lastMeans() == Means::portal; }));
  token.reset();
  EXPECT_TRUE(waitUntil([&] { return services.portal.count("Close()") == 1; }));

  services.connection.unregisterService("org.freedesktop.portal.Desktop");
  services.offerScreenSaver();
  token = power.begin("Again");
  ASSERT_TRUE(waitUntil([&] { return power.lastMeans() == Means::screenSaver; }));
  EXPECT_EQ(services.screenSaver.count("Inhibit(Quillmere,Again)"), 1);
  token.reset();
  EXPECT_TRUE(waitUntil([&] { return services.screenSaver.count("UnInhibit(42)") == 1; }));
}

TEST_F(SessionAdaptersTest, ATokenThatGoesEarlyLeavesNothingBehind) {
  PowerServices services(connect());
  services.offerScreenSaver();
  BusConnection systemBus(executor, workers, nobody());
  BusConnection session(executor, workers, opener());
  {
    SessionPowerActivity power(systemBus, session);
    auto token = power.begin("Short");
    waitUntil([&] { return services.screenSaver.count("Inhibit(Quillmere,Short)") == 1; });
    token.reset();  // perhaps before the answer is here
    EXPECT_TRUE(waitUntil([&] { return services.screenSaver.count("UnInhibit(42)") == 1; }));
    auto never = power.begin("Never");
    never.reset();
    auto left = power.begin("Left");
    ASSERT_TRUE(waitUntil([&] { return services.screenSaver.count("Inhibit(Quillmere,Left)") == 1; }));
    EXPECT_EQ(services.screenSaver.count("Inhibit(Quillmere,Never)"), 0);
    token = std::move(left);
  }
  // A service that nobody offers, and a token that outlives its maker, do no harm.
  BusConnection none(executor, workers, nobody());
  SessionPowerActivity nothing(none, none);
  const auto token = nothing.begin("Nothing");
  EXPECT_EQ(nothing.lastMeans(), Means::none);
}

}  // namespace
}  // namespace quillmere
