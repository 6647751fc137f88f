#include <gmock/gmock.h>

#include <QApplication>

#include "app/windows/DesktopQml.h"
#include "support/SkipGuard.h"

// Windows need an application with a platform; offscreen unless told otherwise.
int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  quillmere::installSkipGuard();
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  quillmere::DesktopQml::prepareGraphics();
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  return RUN_ALL_TESTS();
}
