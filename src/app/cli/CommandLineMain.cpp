#include "app/cli/CommandLineMain.h"

#include <signal.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QFileInfo>
#include <iostream>

#include "app/cli/CommandLine.h"
#include "app/cli/Commands.h"
#include "app/cli/Terminal.h"
#include "app/compose/Services.h"
#include "app/compose/SignalWatcher.h"
#include "app/compose/Version.h"
#include "app/compose/texts/Texts.h"
#include "base/async/TaskScope.h"
#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

// Log lines on the error stream, for --verbose. Private values are shown: it is the person's own terminal.
class ErrorStreamLog final : public LogSink {
 public:
  void write(const LogRecord& record) override {
    const QString line = QStringLiteral("[%1] %2\n").arg(record.category, printable(record.fullText(), false));
    std::cerr << line.toStdString();
  }
};

class TerminalNotices final : public UserNotices {
 public:
  explicit TerminalNotices(Terminal& terminal) : terminal_(terminal) {}
  void showToast(const QString& message, bool) override { terminal_.err(message); }

 private:
  Terminal& terminal_;
};

Task<int> runCommand(CommandContext context, CommandOptions options, const SessionCommands* session) {
  if (auto* dictate = std::get_if<DictateOptions>(&options); dictate && session)
    return session->dictate(context, std::move(*dictate));
  if (auto* doctor = std::get_if<DoctorOptions>(&options); doctor && session)
    return session->doctor(context, std::move(*doctor));
  if (auto* control = std::get_if<ControlOptions>(&options)) return runControl(context, std::move(*control));
  if (auto* transcribe = std::get_if<TranscribeOptions>(&options))
    return runTranscribe(context, std::move(*transcribe));
  if (auto* history = std::get_if<HistoryOptions>(&options)) return runHistory(context, std::move(*history));
  if (auto* models = std::get_if<ModelsOptions>(&options)) return runModels(context, std::move(*models));
  if (auto* modes = std::get_if<ModesOptions>(&options)) return runModes(context, std::move(*modes));
  if (auto* vocabulary = std::get_if<VocabularyOptions>(&options))
    return runVocabulary(context, std::move(*vocabulary));
  return runSettings(context, std::get<SettingsOptions>(std::move(options)));
}

Task<void> runToEnd(Task<int> command, int& code) {
  try {
    code = co_await std::move(command);
  } catch (const Cancelled&) {
    code = exitCancelled;
  }
  QCoreApplication::quit();
}

template <typename... Options>
bool isOneOf(const CommandOptions& command) {
  return (std::holds_alternative<Options>(command) || ...);
}

// Gives this process to the session program; comes back only when that is not installed.
int handToSessionProgram(char** argv, Terminal& terminal) {
  const QString program =
      QFileInfo(QStringLiteral("/proc/self/exe")).canonicalPath() + QStringLiteral("/quillmere-session");
  execv(program.toLocal8Bit().constData(), argv);
  terminal.err(localizedText("cli.session.missing"));
  return exitFailure;
}

}  // namespace

int commandLineMain(int argc, char** argv, const SessionCommands* session) {
  signal(SIGPIPE, SIG_IGN);
  const QCoreApplication application(argc, argv);
  QCoreApplication::setApplicationName(QStringLiteral("quillmere"));
  QCoreApplication::setApplicationVersion(QStringLiteral(QUILLMERE_VERSION));
  const Texts texts(Texts::languageFor(QProcessEnvironment::systemEnvironment(), Texts::available()));

  Invocation invocation;
  CommandLine commandLine(invocation);
  if (const auto code = commandLine.parse(argc, argv)) return *code;
  if (const auto* completion = std::get_if<CompletionOptions>(&invocation.command)) {
    std::cout << completionScript(commandLine.tree(), completion->shell);
    return std::cout.flush() ? exitOk : exitFailure;
  }

  Terminal terminal;
  if (!session && isOneOf<DictateOptions, DoctorOptions>(invocation.command))
    return handToSessionProgram(argv, terminal);
  TerminalNotices notices(terminal);
  ServiceOptions options;
  options.notices = &notices;
  options.opensStore = !isOneOf<ModelsOptions, SettingsOptions, DoctorOptions, ControlOptions>(invocation.command);
  options.completionLinger = Duration::zero();
  if (invocation.isVerbose) options.extraLogSink = std::make_shared<ErrorStreamLog>();
  auto services = makeServices(options);
  if (!services) {
    terminal.err(services.error().description);
    return exitStore;
  }

  int code = exitFailure;
  std::function<void()> onInterrupt;
  std::function<void()> onEnd;
  {
    TaskScope scope(*(*services)->executor);
    CommandContext context{**services, terminal, onInterrupt, onEnd};
    auto command = runCommand(context, std::move(invocation.command), session);
    auto running = scope.spawn(runToEnd(std::move(command), code));
    const auto interrupt = [&] {
      terminal.clearStatus();
      onInterrupt ? onInterrupt() : running.cancel();
    };
    const SignalWatcher signals(interrupt, [&] { onEnd ? onEnd() : interrupt(); });
    QCoreApplication::exec();
  }
  if (code == exitCancelled) {
    // Everything half done is gone and the store is safe; the engine may still be busy with what it can't leave.
    std::cout.flush();
    _exit(code);
  }
  return code;
}

}  // namespace quillmere
