#include <gtest/gtest.h>

#include <QProcess>
#include <QScreen>

#include "app/windows/OverlayPlace.h"
#include "desktop/Keyboard.h"
#include "platform/x11/X11FloatingWindows.h"

namespace quillmere {
namespace {

QString output(const QString& program, const QStringList& arguments) {
  QProcess process;
  process.start(program, arguments);
  process.waitForFinished();
  return QString::fromLocal8Bit(process.readAllStandardOutput()).trimmed();
}

// Needs a real X server with a window manager.
TEST(Focus, StaysWhereTheUserIs) {
  if (QGuiApplication::platformName() != QLatin1String("xcb")) GTEST_SKIP() << "no X server";
  auto opened = X11FloatingWindows::open();
  ASSERT_TRUE(opened);
  const std::shared_ptr<X11FloatingWindows> screen = std::move(*opened);
  EXPECT_FALSE(screen->isComposited()) << "nobody does here";
  DesktopFixture f;
  ASSERT_NE(activeWindow(f), nullptr);
  const auto active = [] { return output(QStringLiteral("xdotool"), {QStringLiteral("getactivewindow")}); };
  const QString before = active();
  ASSERT_FALSE(before.isEmpty());
  const auto expectUntouched = [&](const char* when) {
    for (int i = 0; i < 20; ++i) f.settle();
    EXPECT_EQ(active(), before) << when;
  };
  QQuickWindow* const window = f.interface->overlayWindow().window();
  const auto* const toolkit = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  screen->announce(xcb_window_t(window->winId()), toolkit->connection());
  f.state.update([](AppStateData& data) { data.showRecordingDialog = true; });
  ASSERT_TRUE(f.settleUntil([&] { return window->isExposed(); }));
  expectUntouched("pill");
  EXPECT_TRUE(output(QStringLiteral("xprop"),
                     {QStringLiteral("-id"), QString::number(window->winId()), QStringLiteral("_NET_WM_DESKTOP")})
                  .endsWith(QStringLiteral("4294967295")))
      << "on every desktop";
  f.change([](AppStateData& data) { data.recordingState.kind = RecordingState::Recording{}; });
  const int width = window->width();
  f.state.update([](AppStateData& data) { data.showCancelConfirmation = true; });
  expectUntouched("question");
  f.interface->notices().showToast(QStringLiteral("The service did not answer. The recording is safe."), true);
  ASSERT_TRUE(f.settleUntil([&] { return f.interface->errorToastWindow().window()->isExposed(); }));
  f.interface->showModeToast(QStringLiteral("E-mail"));
  expectUntouched("toasts");
  // A click on the pill neither: it reaches the button, and the keyboard stays.
  const QRect pill = window->geometry();
  output(QStringLiteral("xdotool"), {QStringLiteral("mousemove"), QString::number(pill.right() - 20),
                                     QString::number(pill.center().y()), QStringLiteral("click"), QStringLiteral("1")});
  EXPECT_TRUE(f.settleUntil([&] { return !f.state.data().showCancelConfirmation; }));
  expectUntouched("click");
  EXPECT_TRUE(f.settleUntil([&] {
    return window->width() == width &&
           window->position() == overlayPlace(QGuiApplication::primaryScreen()->availableGeometry(), window->size());
  })) << "back in its place";
}

TEST(Focus, GoesToTheNextWindowAndNotToThePillWhenOneCloses) {
  if (QGuiApplication::platformName() != QLatin1String("xcb")) GTEST_SKIP() << "no X server";
  auto screen = X11FloatingWindows::open();
  ASSERT_TRUE(screen);
  DesktopFixture f;
  const auto activeName = [] {
    return output(QStringLiteral("xdotool"), {QStringLiteral("getactivewindow"), QStringLiteral("getwindowname")});
  };
  QProcess windows[2];
  for (int i = 0; i < 2; ++i) {
    const QString name = QStringLiteral("window %1").arg(i);
    windows[i].start(QStringLiteral("xterm"),
                     {QStringLiteral("-T"), name, QStringLiteral("-e"), QStringLiteral("cat")});
    ASSERT_TRUE(f.settleUntil([&] { return activeName() == name; }));
  }
  QQuickWindow* const pill = f.interface->overlayWindow().window();
  const auto* const toolkit = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  (*screen)->announce(xcb_window_t(pill->winId()), toolkit->connection());
  f.state.update([](AppStateData& data) { data.showRecordingDialog = true; });
  ASSERT_TRUE(f.settleUntil([&] { return pill->isExposed(); }));
  windows[1].kill();
  windows[1].waitForFinished();
  EXPECT_TRUE(f.settleUntil([&] { return activeName() == QLatin1String("window 0"); }));
  windows[0].kill();
  windows[0].waitForFinished();
  for (int i = 0; i < 20; ++i) f.settle();
  EXPECT_NE(output(QStringLiteral("xdotool"), {QStringLiteral("getwindowfocus")}), QString::number(pill->winId()));
}

}  // namespace
}  // namespace quillmere
