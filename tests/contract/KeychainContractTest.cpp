#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <csignal>

#include "platform/qt/QtExecutor.h"
#include "platform/secretservice/SecretServiceKeychain.h"
#include "support/FakeKeychain.h"
#include "support/RunTask.h"
#include "support/SessionBus.h"
#include "support/TestTexts.h"
#include "support/WaitUntil.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Kind = KeychainError::Kind;

// What holds for every Keychain, on the fake and on the desktop's keyring on a bus of the test.
struct FakeDesk {
  FakeKeychain secrets;
  Keychain& keychain() { return secrets; }
  static bool isAvailable() { return true; }
  bool start() { return true; }
  void lock() { secrets.state = FakeKeychain::State::locked; }
  void freeze() { secrets.state = FakeKeychain::State::silent; }
  void end() { secrets.state = FakeKeychain::State::absent; }
  // The user sees the question and does not answer; before, there is nobody to ask.
  void leave() { secrets.user = FakeKeychain::User::isAway; }
};

// Takes every call and answers none.
class Silent final : public QDBusVirtualObject {
 public:
  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage&, const QDBusConnection&) override { return true; }
};

struct RealDesk {
  TestTexts texts;
  QTemporaryDir home;
  QProcess daemon;
  std::unique_ptr<QDBusConnection> user;
  std::unique_ptr<SecretServiceKeychain> owned;
  Silent prompter;

  ~RealDesk() {
    end();
    if (user) QDBusConnection::disconnectFromBus(user->name());
  }
  static bool isAvailable() { return !QStandardPaths::findExecutable("gnome-keyring-daemon").isEmpty(); }
  bool start() {
    // GLib keeps one connection to it.
    static SessionBus* const bus = new SessionBus;
    user = std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(bus->address(), "keyring-user"));
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus->address().toUtf8());
    owned = std::make_unique<SecretServiceKeychain>();
    return startDaemon();
  }
  bool startDaemon() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"}) environment.insert(name, home.path());
    daemon.setProcessEnvironment(environment);
    daemon.start("gnome-keyring-daemon",
                 {"--foreground", "--unlock", "--components=secrets", "--control-directory=" + home.path()});
    daemon.write("\n");  // an empty password
    daemon.closeWriteChannel();
    return waitUntil(
        [this] { return call("ReadAlias", {QString("default")}).value(0).value<QDBusObjectPath>().path().size() > 1; });
  }
  QVariantList call(const char* method, const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall("org.freedesktop.secrets", "/org/freedesktop/secrets",
                                                  "org.freedesktop.Secret.Service", method);
    message.setArguments(arguments);
    return user->call(message).arguments();
  }
  void lock() {
    call("Lock",
         {QVariant::fromValue(QList{call("ReadAlias", {QString("default")}).value(0).value<QDBusObjectPath>()})});
  }
  void freeze() { ::kill(pid_t(daemon.processId()), SIGSTOP); }
  void end() {
    daemon.kill();
    daemon.waitForFinished();
  }
  void leave() {
    user->registerVirtualObject("/org/gnome/keyring/Prompter", &prompter);
    user->registerService("org.gnome.keyring.SystemPrompter");
  }
  Keychain& keychain() { return *owned; }
};

template <typename Desk>
class KeychainContract : public testing::Test {
 protected:
  void SetUp() override {
    if (!Desk::isAvailable()) GTEST_SKIP() << "dbus-daemon and gnome-keyring-daemon are needed";
    ASSERT_TRUE(desk.start());
  }
  // "secret" or the error's kind.
  template <typename T>
  static QString text(const Result<T, KeychainError>& result) {
    if (!result) return QStringList{"absent", "locked", "missing", "timedOut", "failed"}[int(result.error().kind)];
    if constexpr (std::is_void_v<T>)
      return "done";
    else
      return *result;
  }
  QString read(const KeychainItem& which, const KeychainAccess& access = {}) {
    return text(runTaskInLoop(executor, desk.keychain().read(which, access)));
  }
  QString write(const KeychainItem& which, const QString& secret, const KeychainAccess& access = {}) {
    return text(runTaskInLoop(executor, desk.keychain().write(which, secret, "A key of the test", access)));
  }
  QString remove(const KeychainItem& which, const KeychainAccess& access = {}) {
    return text(runTaskInLoop(executor, desk.keychain().remove(which, access)));
  }
  QtExecutor executor;
  Desk desk;
  const KeychainItem item{"com.quillmere.test", "one"};
};

using Desks = testing::Types<FakeDesk, RealDesk>;
TYPED_TEST_SUITE(KeychainContract, Desks);

TYPED_TEST(KeychainContract, SecretsAreKeptByServiceAndAccount) {
  const KeychainItem other{"com.quillmere.test", "two"};
  EXPECT_EQ(this->read(this->item), "missing");
  for (const QString& secret : {QString("sk-1"), QString("Größe \n🙂"), QString(10'000, 'x'), QString("")}) {
    EXPECT_EQ(this->write(this->item, secret), "done");
    EXPECT_EQ(this->read(this->item), secret);
  }
  EXPECT_EQ(this->read(other), "missing");
  EXPECT_EQ(this->write(other, "sk-2"), "done");
  EXPECT_EQ(this->remove(this->item), "done");
  EXPECT_EQ(this->remove(this->item), "missing");
  EXPECT_EQ(this->read(other), "sk-2");
}

TYPED_TEST(KeychainContract, ALockedOneIsNotTakenForAnEmptyOne) {
  EXPECT_EQ(this->write(this->item, "sk-1"), "done");
  this->desk.lock();
  for (const KeychainAccess& access : {KeychainAccess{}, KeychainAccess{true, 5s}}) {
    EXPECT_EQ(this->read(this->item, access), "locked");
    EXPECT_EQ(this->read({"com.quillmere.test", "none"}, access), "locked");
    EXPECT_EQ(this->write(this->item, "sk-2", access), "locked");
    EXPECT_EQ(this->remove(this->item, access), "locked");
  }
  this->desk.leave();
  EXPECT_EQ(this->read(this->item, {true, 300ms}), "locked");
}

TYPED_TEST(KeychainContract, OneThatHangsOrIsGoneSaysSo) {
  EXPECT_EQ(this->write(this->item, "sk-1"), "done");
  this->desk.freeze();
  EXPECT_EQ(this->read(this->item, {false, 100ms}), "timedOut");
  TaskScope scope(this->executor);
  auto handle = scope.spawn(this->desk.keychain().read(this->item, {false, 1h}));
  runTaskInLoop(this->executor, yieldNow());
  handle.cancel();
  EXPECT_THROW(std::ignore = runTaskInLoop(this->executor, handle.join()), Cancelled);
  this->desk.end();
  EXPECT_EQ(this->read(this->item), "absent");
  EXPECT_EQ(this->write(this->item, "sk-1"), "absent");
  EXPECT_EQ(this->remove(this->item), "absent");
}

TEST(SecretServiceKeychain, WithoutABusItIsAbsentAndAServiceThatComesIsFound) {
  QtExecutor executor;
  qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
  SecretServiceKeychain nowhere;
  EXPECT_EQ(runTaskInLoop(executor, nowhere.read({"a", "b"}, {})).error().kind, Kind::absent);
  if (!RealDesk::isAvailable()) GTEST_SKIP() << "dbus-daemon and gnome-keyring-daemon are needed";
  RealDesk desk;
  ASSERT_TRUE(desk.start());
  for (int life = 0; life < 2; ++life) {
    ASSERT_TRUE(runTaskInLoop(executor, desk.keychain().write({"a", "b"}, "secret", "label", {})));
    desk.end();
    EXPECT_EQ(runTaskInLoop(executor, desk.keychain().read({"a", "b"}, {})).error().kind, Kind::absent);
    ASSERT_TRUE(desk.startDaemon());
    EXPECT_EQ(runTaskInLoop(executor, desk.keychain().read({"a", "b"}, {})).valueOr("nothing"), "secret");
  }
}

}  // namespace
}  // namespace quillmere
