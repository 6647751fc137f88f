#include <QGuiApplication>

#include "app/cli/CommandLineMain.h"
#include "app/session/SessionCommands.h"

namespace {

// With a display the clipboard comes with it; without one recording and transcribing still work.
std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("DISPLAY")) return std::make_unique<QCoreApplication>(argc, argv);
  qputenv("QT_QPA_PLATFORM", "xcb");
  return std::make_unique<QGuiApplication>(argc, argv);
}

}  // namespace

int main(int argc, char** argv) {
  quillmere::SessionCommands commands;
  commands.makeApplication = makeApplication;
  commands.dictate = quillmere::runDictate;
  commands.doctor = quillmere::runDoctor;
  return quillmere::commandLineMain(argc, argv, &commands);
}
