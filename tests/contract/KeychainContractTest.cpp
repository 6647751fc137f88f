#include <QStandardPaths>
#include <QTemporaryDir>
#include <csignal>

#include "contract/Sides.h"
#include "platform/secretservice/SecretServiceKeychain.h"
#include "platform/session/PrivateBus.h"
#include "support/FakeKeychain.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

struct FakeSide : InLoop {
  static bool isAvailable() { return true; }
  bool start() {
    secrets.state = FakeKeychain::State::open;
    return true;
  }
  void lock() { secrets.state = FakeKeychain::State::locked; }
  void freeze() { secrets.state = FakeKeychain::State::silent; }
  void end() { secrets.state = FakeKeychain::State::absent; }
  // The user sees the question and does not answer; before, there is nobody to ask.
  void leave() { secrets.user = FakeKeychain::User::isAway; }
  FakeKeychain secrets;
  Keychain* keychain = &secrets;
};

// The desktop's keyring on a bus of the tests.
struct SecretServiceSide : InLoop {
  SecretServiceSide() { qputenv("DBUS_SESSION_BUS_ADDRESS", bus().address().toUtf8()); }
  ~SecretServiceSide() {
    end();
    QDBusConnection::disconnectFromBus(user.name());
  }
  static SessionBus& bus() {
    static SessionBus* const bus = new SessionBus;  // GLib keeps one connection to it
    return *bus;
  }
  static bool isAvailable() { return !QStandardPaths::findExecutable("gnome-keyring-daemon").isEmpty(); }
  bool start() {
    if (!keychain) keychain = std::make_unique<SecretServiceKeychain>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"}) environment.insert(name, home.path());
    daemon.setProcessEnvironment(environment);
    daemon.start("gnome-keyring-daemon",
                 {"--foreground", "--unlock", "--components=secrets", "--control-directory=" + home.path()});
    daemon.write("\n");  // an empty password
    daemon.closeWriteChannel();
    return waitUntil([this] { return collection().path().size() > 1; });
  }
  QVariant call(const char* method, const QVariant& argument) {
    auto message = QDBusMessage::createMethodCall("org.freedesktop.secrets", "/org/freedesktop/secrets",
                                                  "org.freedesktop.Secret.Service", method);
    return user.call(message << argument).arguments().value(0);
  }
  QDBusObjectPath collection() { return call("ReadAlias", "default").value<QDBusObjectPath>(); }
  void lock() { call("Lock", QVariant::fromValue(QList{collection()})); }
  void freeze() { ::kill(pid_t(daemon.processId()), SIGSTOP); }
  void end() {
    daemon.kill();
    daemon.waitForFinished();
  }
  void leave() {
    prompter.isMute = true;
    user.registerVirtualObject("/org/gnome/keyring/Prompter", &prompter);
    user.registerService("org.gnome.keyring.SystemPrompter");
  }
  TestTexts texts;
  QTemporaryDir home;
  QProcess daemon;
  BusService prompter;
  QDBusConnection user = QDBusConnection::connectToBus(bus().address(), "keyring-user");
  std::unique_ptr<SecretServiceKeychain> keychain;
};

template <typename Side>
class KeychainContract : public testing::Test, public Side {
 protected:
  void SetUp() override {
    if (!Side::isAvailable()) GTEST_SKIP() << "dbus-daemon and gnome-keyring-daemon are needed";
    ASSERT_TRUE(this->start());
  }
  // "secret" or the error's kind.
  template <typename T>
  QString text(Task<Result<T, KeychainError>> task) {
    const auto result = this->run(std::move(task));
    if (!result) return QStringList{"absent", "locked", "missing", "timedOut", "failed"}[int(result.error().kind)];
    if constexpr (std::is_void_v<T>)
      return "done";
    else
      return *result;
  }
  QString read(const KeychainItem& which, const KeychainAccess& access = {}) {
    return text(this->keychain->read(which, access));
  }
  QString write(const KeychainItem& which, const QString& secret, const KeychainAccess& access = {}) {
    return text(this->keychain->write(which, secret, "A key of the test", access));
  }
  QString remove(const KeychainItem& which, const KeychainAccess& access = {}) {
    return text(this->keychain->remove(which, access));
  }
  const KeychainItem item{"com.quillmere.test", "one"}, other{"com.quillmere.test", "two"};
};
using Sides = testing::Types<FakeSide, SecretServiceSide>;
TYPED_TEST_SUITE(KeychainContract, Sides, SideNames);

TYPED_TEST(KeychainContract, SecretsAreKeptByServiceAndAccount) {
  EXPECT_EQ(this->read(this->item), "missing");
  for (const QString& secret : {QString("Größe \n🙂"), QString(10'000, 'x'), QString("")}) {
    EXPECT_EQ(this->write(this->item, secret), "done");
    EXPECT_EQ(this->read(this->item), secret);
  }
  EXPECT_EQ(this->read(this->other), "missing");
  EXPECT_EQ(this->write(this->other, "sk-2"), "done");
  EXPECT_EQ(this->remove(this->item), "done");
  EXPECT_EQ(this->remove(this->item), "missing");
  EXPECT_EQ(this->read(this->other), "sk-2");
}

TYPED_TEST(KeychainContract, ALockedOneIsNotTakenForAnEmptyOne) {
  EXPECT_EQ(this->write(this->item, "sk-1"), "done");
  this->lock();
  for (const KeychainAccess& access : {KeychainAccess{}, KeychainAccess{true, 5s}}) {
    for (const KeychainItem& which : {this->item, this->other}) EXPECT_EQ(this->read(which, access), "locked");
    EXPECT_EQ(this->write(this->item, "sk-2", access), "locked");
    EXPECT_EQ(this->remove(this->item, access), "locked");
  }
  this->leave();
  EXPECT_EQ(this->read(this->item, {true, 300ms}), "locked");
}

TYPED_TEST(KeychainContract, OneThatHangsOrIsGoneSaysSoAndOneThatComesIsFound) {
  EXPECT_EQ(this->write(this->item, "sk-1"), "done");
  this->freeze();
  EXPECT_EQ(this->read(this->item, {false, 100ms}), "timedOut");
  TaskScope scope(this->executor);
  auto handle = scope.spawn(this->keychain->read(this->item, {false, 1h}));
  this->run(yieldNow());
  handle.cancel();
  EXPECT_THROW(std::ignore = this->run(handle.join()), Cancelled);
  this->end();
  EXPECT_EQ(this->read(this->item), "absent");
  EXPECT_EQ(this->write(this->item, "sk-2"), "absent");
  EXPECT_EQ(this->remove(this->item), "absent");
  ASSERT_TRUE(this->start());
  EXPECT_EQ(this->read(this->item), "sk-1");
}

TEST(SecretServiceKeychain, WithoutABusItIsAbsent) {
  qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
  InLoop loop;
  SecretServiceKeychain nowhere;
  EXPECT_EQ(loop.run(nowhere.read({"a", "b"}, {})).error().kind, KeychainError::Kind::absent);
}

}  // namespace
}  // namespace quillmere
