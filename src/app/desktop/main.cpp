#include <QApplication>
#include <QCommandLineParser>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QTranslator>
#include <QUrl>
#include <cstdio>

#include "app/compose/Version.h"
#include "app/compose/texts/Texts.h"
#include "app/desktop/DesktopProgram.h"
#include "app/windows/DesktopQml.h"
#include "base/text/LocalizedText.h"
#include "platform/x11/DisplayProbe.h"

namespace quillmere {
namespace {

void nameApplication() {
  QCoreApplication::setApplicationName(QStringLiteral("quillmere"));
  QCoreApplication::setApplicationVersion(QStringLiteral(QUILLMERE_VERSION));
}

// What file managers hand over may be a URI already.
QString uriOf(const QString& argument) {
  if (argument.contains(QLatin1String("://")) && !QFileInfo::exists(argument)) return argument;
  return QUrl::fromLocalFile(QFileInfo(argument).absoluteFilePath()).toString(QUrl::FullyEncoded);
}

// Answers --help and --version, or ends the process with a word on what is wrong; needs the application object.
DesktopProgram::Options parse(const QCoreApplication& application) {
  QCommandLineParser parser;
  parser.setApplicationDescription(localizedText("desktop.help.program"));
  parser.addHelpOption();
  parser.addVersionOption();
  const QCommandLineOption hidden(QStringLiteral("hidden"), localizedText("desktop.help.hidden"));
  parser.addOption(hidden);
  parser.addPositionalArgument(QStringLiteral("FILE"), localizedText("desktop.help.file"), QStringLiteral("[FILE...]"));
  parser.process(application);
  DesktopProgram::Options options;
  options.isHidden = parser.isSet(hidden);
  for (const QString& argument : parser.positionalArguments()) options.files << uriOf(argument);
  return options;
}

// Qt would end the process with a signal.
int sayThatThereIsNoDisplay(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  nameApplication();
  const Texts texts(Texts::languageFor(QProcessEnvironment::systemEnvironment(), Texts::available()));
  parse(application);
  std::fprintf(stderr, "%s\n", qPrintable(localizedText("desktop.noDisplay")));
  return 1;
}

int run(int argc, char** argv) {
  // The tray, the pill's place and the keys are those of X11, also where a Wayland session offers its X server.
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "xcb");
  DesktopQml::prepareGraphics();
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  nameApplication();
  QGuiApplication::setDesktopFileName(QStringLiteral("com.quillmere.Quillmere"));
  const Texts texts(Texts::languageFor(QProcessEnvironment::systemEnvironment(), Texts::available()));
  QTranslator dialogs;  // of Qt itself: those for files
  if (dialogs.load(QStringLiteral("qtbase_") + texts.language(), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
    QCoreApplication::installTranslator(&dialogs);
  QGuiApplication::setApplicationDisplayName(QStringLiteral("Quillmere"));
  DesktopProgram program(parse(application));
  if (const auto code = program.start()) return *code;
  return QApplication::exec();
}

}  // namespace
}  // namespace quillmere

// The application in the tray.
int main(int argc, char** argv) {
  return quillmere::isDisplayReachable() ? quillmere::run(argc, argv) : quillmere::sayThatThereIsNoDisplay(argc, argv);
}
