#include "platform/session/FreedesktopNotifications.h"

#include "platform/session/PrivateBus.h"

namespace quillmere {
namespace {

struct FreedesktopNotificationsTest : testing::Test, PrivateBus {
  // A service of which the capabilities are known.
  void offer(const QStringList& capabilities) {
    service.answers["GetCapabilities"] = [capabilities](const QDBusMessage&) { return QVariant(capabilities); };
    service.answers["Notify"] = [this](const QDBusMessage& message) {
      notified << message.arguments();
      return QVariant::fromValue(7U);
    };
    connection.registerVirtualObject("/org/freedesktop/Notifications", &service);
    connection.registerService("org.freedesktop.Notifications");
  }
  bool show(const QString& text, bool isCritical = false) {
    DesktopNotifications::Content content;
    content.text = text;
    content.isCritical = isCritical;
    return run(notifications.show(content));
  }

  QDBusConnection connection = connect();
  BusService service;
  QList<QVariantList> notified;
  BusConnection session{executor, workers, opener()};
  FreedesktopNotifications notifications{session};
};

TEST_F(FreedesktopNotificationsTest, EachTakesThePlaceOfTheOneBefore) {
  EXPECT_FALSE(show("nobody listens"));
  offer({"body", "body-markup"});
  EXPECT_TRUE(show("a < b"));
  EXPECT_TRUE(show("second", true));
  ASSERT_EQ(notified.size(), 2);
  EXPECT_EQ(notified[0][4].toString(), "a &lt; b") << "nobody's markup";
  EXPECT_EQ(notified[0][1].toUInt(), 0U);
  EXPECT_EQ(notified[1][1].toUInt(), 7U);
}

TEST_F(FreedesktopNotificationsTest, WordsStayAsTheyAreWithoutMarkup) {
  offer({"body"});
  EXPECT_TRUE(show("a < b"));
  EXPECT_EQ(notified.at(0)[4].toString(), "a < b");
}

}  // namespace
}  // namespace quillmere
