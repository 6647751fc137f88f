#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <clocale>

#include "app/Version.h"
#include "app/desktop/DesktopQml.h"
#include "app/program/DesktopProgram.h"
#include "app/texts/Texts.h"
#include "base/text/LocalizedText.h"

// The application in the tray.
int main(int argc, char** argv) {
  using namespace quillmere;
  DesktopQml::prepareGraphics();
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  QCoreApplication::setApplicationName(QStringLiteral("quillmere"));
  QCoreApplication::setApplicationVersion(QStringLiteral(QUILLMERE_VERSION));
  QGuiApplication::setDesktopFileName(QStringLiteral("com.quillmere.Quillmere"));
  const Texts texts(Texts::languageFor(QProcessEnvironment::systemEnvironment(), Texts::available()));
  QGuiApplication::setApplicationDisplayName(QStringLiteral("Quillmere"));

  QCommandLineParser parser;
  parser.setApplicationDescription(localizedText("desktop.help.program"));
  parser.addHelpOption();
  parser.addVersionOption();
  const QCommandLineOption hidden(QStringLiteral("hidden"), localizedText("desktop.help.hidden"));
  parser.addOption(hidden);
  parser.process(application);

  DesktopProgram program({parser.isSet(hidden)});
  if (const auto code = program.start()) return *code;
  return QApplication::exec();
}
