#include <gtest/gtest.h>

#include <QFile>
#include <QRegularExpression>

#include "e2e/Application.h"
#include "e2e/Eventually.h"
#include "e2e/Tool.h"

namespace quillmere {
namespace {

// The tray's stand-in writes every icon that registers into its log.
QString iconService() {
  QFile log(qEnvironmentVariable("DESKTOP_FOLDER") + "/log/tray.log");
  if (!log.open(QIODevice::ReadOnly)) return {};
  static const QRegularExpression registered("RegisterStatusNotifierItem \"(:[0-9.]+|[^\"/]+)",
                                             QRegularExpression::UseUnicodePropertiesOption);
  QString service;
  for (auto match = registered.globalMatch(QString::fromUtf8(log.readAll())); match.hasNext();)
    service = match.next().captured(1);
  return service;
}

QString call(const QString& path, const QString& method, const QStringList& arguments) {
  return Tool::run("gdbus", QStringList{"call", "--session", "-d", iconService(), "-o", path, "-m", method} + arguments)
      .text();
}

// The number that the menu gives the entry of that name.
QString entry(const QString& label) {
  const QString layout = call("/MenuBar", "com.canonical.dbusmenu.GetLayout", {"--", "0", "-1", "[]"});
  const QRegularExpression found("\\((\\d+), \\{[^{}]*'label': <'" + QRegularExpression::escape(label) + "'>",
                                 QRegularExpression::UseUnicodePropertiesOption);
  return found.match(layout).captured(1);
}

void click(const QString& label) {
  call("/MenuBar", "com.canonical.dbusmenu.Event", {"--", entry(label), "clicked", "<\"\">", "0"});
}

QString toolTip() {
  return call("/StatusNotifierItem", "org.freedesktop.DBus.Properties.Get", {"org.kde.StatusNotifierItem", "ToolTip"});
}

TEST(TrayTest, TheMenuRecordsAndTheToolTipSaysWhatHappens) {
  Application application;
  ASSERT_TRUE(application.start({"--hidden"}));
  ASSERT_TRUE(eventually([] { return !entry("Record").isEmpty(); }))
      << call("/MenuBar", "com.canonical.dbusmenu.GetLayout", {"--", "0", "-1", "[]"}).toStdString();
  const QString ready = toolTip();
  click("Record");
  ASSERT_TRUE(application.waitForState("recording"));
  EXPECT_TRUE(eventually([&] { return toolTip() != ready && !entry("Stop recording").isEmpty(); }))
      << toolTip().toStdString();
  application.cancel();
  ASSERT_TRUE(application.waitForState("idle"));
  click("Quit");
  EXPECT_TRUE(eventually([&] { return !application.isRunning(); }));
}

}  // namespace
}  // namespace quillmere
