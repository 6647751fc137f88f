#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QProcess>
#include <QScreen>
#include <QStandardPaths>

#include "app/desktop/OverlayPlace.h"
#include "desktop/DesktopFixture.h"

namespace quillmere {
namespace {

QString output(const QString& program, const QStringList& arguments) {
  QProcess process;
  process.start(program, arguments);
  process.waitForFinished();
  return QString::fromLocal8Bit(process.readAllStandardOutput()).trimmed();
}

// Needs a real X server with a window manager and some other program's window that has the keyboard.
TEST(Focus, StaysWhereTheUserIs) {
  if (QGuiApplication::platformName() != QLatin1String("xcb") ||
      QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty())
    GTEST_SKIP() << "no X server";
  const auto active = [] { return output(QStringLiteral("xdotool"), {QStringLiteral("getactivewindow")}); };
  const QString before = active();
  if (before.isEmpty()) GTEST_SKIP() << "no other window";
  DesktopFixture f;
  const auto expectUntouched = [&](const char* when) {
    for (int i = 0; i < 20; ++i) f.settle();
    EXPECT_EQ(active(), before) << when;
  };
  f.state.update([](AppStateData& data) { data.showRecordingDialog = true; });
  ASSERT_TRUE(f.settleUntil([&] { return f.interface->overlayWindow().window()->isExposed(); }));
  expectUntouched("pill");
  f.state.update([](AppStateData& data) {
    data.recordingState.kind = RecordingState::Recording{};
    data.showCancelConfirmation = true;
  });
  expectUntouched("question");
  f.interface->notices().showToast(QStringLiteral("The service did not answer. The recording is safe."), true);
  ASSERT_TRUE(f.settleUntil([&] { return f.interface->errorToastWindow().window()->isExposed(); }));
  f.interface->showModeToast(QStringLiteral("E-mail"));
  expectUntouched("toasts");
  // A click on the pill neither: it reaches the button, and the keyboard stays.
  const QRect pill = f.interface->overlayWindow().window()->geometry();
  output(QStringLiteral("xdotool"), {QStringLiteral("mousemove"), QString::number(pill.right() - 20),
                                     QString::number(pill.center().y()), QStringLiteral("click"), QStringLiteral("1")});
  EXPECT_TRUE(f.settleUntil([&] { return !f.state.data().showCancelConfirmation; }));
  expectUntouched("click");
  QQuickWindow* const window = f.interface->overlayWindow().window();
  EXPECT_TRUE(f.settleUntil([&] {
    return window->width() == 200 &&
           window->position() == overlayPlace(QGuiApplication::primaryScreen()->availableGeometry(), window->size());
  })) << "back in its place";
  if (const QString pictures = qEnvironmentVariable("QUILLMERE_PICTURES"); !pictures.isEmpty())
    output(QStringLiteral("import"),
           {QStringLiteral("-window"), QStringLiteral("root"), pictures + QStringLiteral("/desktop.png")});
}

}  // namespace
}  // namespace quillmere
