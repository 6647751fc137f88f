#include "app/cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <QtGlobal>

#include "app/compose/ExitCode.h"
#include "app/compose/Version.h"

namespace quillmere {
namespace {

std::string help(const char* key) {
  return qtTrId(key).toStdString();
}

template <typename Options>
std::shared_ptr<Options> choice(CLI::App* command, Invocation& invocation, typename Options::Action action) {
  auto options = std::make_shared<Options>();
  options->action = action;
  command->callback([options, &invocation] { invocation.command = *options; });
  return options;
}

void addJson(CLI::App* command, bool& target) {
  command->add_flag("--json", target, help("cli.help.json"));
}

void addTranscribe(CLI::App& app, Invocation& invocation) {
  auto* command = app.add_subcommand("transcribe", help("cli.help.transcribe"));
  auto options = std::make_shared<TranscribeOptions>();
  command->add_option("file", options->files, help("cli.help.transcribe.file"))->required()->expected(-1);
  command->add_option("--mode", options->mode, help("cli.help.transcribe.mode"));
  command->add_option("--model", options->model, help("cli.help.transcribe.model"));
  command->add_option("--language", options->language, help("cli.help.transcribe.language"));
  addJson(command, options->isJson);
  command->add_flag("--no-history", options->isWithoutHistory, help("cli.help.transcribe.noHistory"));
  command->add_flag("-q,--quiet", options->isQuiet, help("cli.help.quiet"));
  command->callback([options, &invocation] { invocation.command = *options; });
}

void addHistory(CLI::App& app, Invocation& invocation) {
  using Action = HistoryOptions::Action;
  auto* history = app.add_subcommand("history", help("cli.help.history"));
  history->require_subcommand(0, 1);
  const auto listing = [](CLI::App* command, bool isSearch) {
    auto options = std::make_shared<HistoryOptions>();
    if (isSearch)
      command->add_option("text", options->search, help("cli.help.history.search.text"))->required();
    else
      command->add_option("--search", options->search, help("cli.help.history.search.text"));
    command->add_option("-n,--limit", options->limit, help("cli.help.history.limit"))->check(CLI::Range(1, 1000000));
    command->add_option("--offset", options->offset, help("cli.help.history.offset"))->check(CLI::Range(0, 100000000));
    command->add_flag("--discarded", options->isDiscarded, help("cli.help.history.discarded"));
    addJson(command, options->isJson);
    return options;
  };
  auto* list = history->add_subcommand("list", help("cli.help.history.list"));
  auto listOptions = listing(list, false);
  list->callback([listOptions, &invocation] { invocation.command = *listOptions; });
  auto* search = history->add_subcommand("search", help("cli.help.history.search"));
  auto searchOptions = listing(search, true);
  search->callback([searchOptions, &invocation] { invocation.command = *searchOptions; });

  auto* show = history->add_subcommand("show", help("cli.help.history.show"));
  auto showOptions = choice<HistoryOptions>(show, invocation, Action::show);
  show->add_option("id", showOptions->ids, help("cli.help.history.id"))->required()->expected(-1);
  addJson(show, showOptions->isJson);

  auto* remove = history->add_subcommand("delete", help("cli.help.history.delete"));
  auto removeOptions = choice<HistoryOptions>(remove, invocation, Action::remove);
  remove->add_option("id", removeOptions->ids, help("cli.help.history.id"))->required()->expected(-1);
  remove->add_flag("-y,--yes", removeOptions->isConfirmed, help("cli.help.yes"));

  auto* retry = history->add_subcommand("retry", help("cli.help.history.retry"));
  auto retryOptions = choice<HistoryOptions>(retry, invocation, Action::retry);
  retry->add_option("id", retryOptions->ids, help("cli.help.history.id"))->required()->expected(1);
  retry->add_option("--mode", retryOptions->mode, help("cli.help.transcribe.mode"));
  retry->add_option("--model", retryOptions->model, help("cli.help.transcribe.model"));
  retry->add_option("--language", retryOptions->language, help("cli.help.transcribe.language"));

  // "quillmere history" alone lists; the list's own options work there too.
  auto bare = listing(history, false);
  history->callback([bare, history, &invocation] {
    if (history->get_subcommands().empty()) invocation.command = *bare;
  });
}

void addModels(CLI::App& app, Invocation& invocation) {
  using Action = ModelsOptions::Action;
  auto* models = app.add_subcommand("models", help("cli.help.models"));
  models->require_subcommand(0, 1);
  auto bare = std::make_shared<ModelsOptions>();
  addJson(models, bare->isJson);
  models->callback([bare, models, &invocation] {
    if (models->get_subcommands().empty()) invocation.command = *bare;
  });
  auto* list = models->add_subcommand("list", help("cli.help.models.list"));
  addJson(list, choice<ModelsOptions>(list, invocation, Action::list)->isJson);

  auto* download = models->add_subcommand("download", help("cli.help.models.download"));
  auto downloadOptions = choice<ModelsOptions>(download, invocation, Action::download);
  download->add_option("name", downloadOptions->names, help("cli.help.models.name"))->required()->expected(-1);
  download->add_flag("--fresh", downloadOptions->isFresh, help("cli.help.models.fresh"));
  download->add_flag("-q,--quiet", downloadOptions->isQuiet, help("cli.help.quiet"));

  auto* remove = models->add_subcommand("delete", help("cli.help.models.delete"));
  auto removeOptions = choice<ModelsOptions>(remove, invocation, Action::remove);
  remove->add_option("name", removeOptions->names, help("cli.help.models.name"))->required()->expected(-1);

  auto* import = models->add_subcommand("import", help("cli.help.models.import"));
  auto importOptions = choice<ModelsOptions>(import, invocation, Action::import);
  import->add_option("path", importOptions->names, help("cli.help.models.import.path"))->required()->expected(1);
  import->add_option("--name", importOptions->importName, help("cli.help.models.import.name"));
  import->add_flag("-q,--quiet", importOptions->isQuiet, help("cli.help.quiet"));

  auto* path = models->add_subcommand("path", help("cli.help.models.path"));
  choice<ModelsOptions>(path, invocation, Action::path);
}

void addModeFields(CLI::App* command, ModesOptions& options) {
  command->add_option("--preset", options.preset, help("cli.help.modes.preset"));
  command->add_option("--language", options.language, help("cli.help.modes.language"));
  command->add_option("--model", options.model, help("cli.help.modes.model"));
  command->add_option("--prompt", options.prompt, help("cli.help.modes.prompt"));
  command->add_option("--instructions", options.instructions, help("cli.help.modes.instructions"));
  command->add_option("--spelling", options.spelling, help("cli.help.modes.spelling"));
  command->add_option("--cloud-provider", options.cloudProvider, help("cli.help.modes.cloudProvider"));
  command->add_option("--cloud-model", options.cloudModel, help("cli.help.modes.cloudModel"));
  command->add_option("--post-processing", options.postProcessing, help("cli.help.modes.postProcessing"));
  command->add_option("--post-processing-provider", options.postProcessingProvider,
                      help("cli.help.modes.postProcessingProvider"));
  command->add_option("--language-model", options.languageModel, help("cli.help.modes.languageModel"));
  command->add_option("--accuracy", options.accuracy, help("cli.help.modes.accuracy"));
  command->add_option("--punctuation", options.punctuation, help("cli.help.modes.punctuation"));
  command->add_option("--capitalization", options.capitalization, help("cli.help.modes.capitalization"));
  command->add_option("--profanity-filter", options.profanityFilter, help("cli.help.modes.profanityFilter"));
}

void addModes(CLI::App& app, Invocation& invocation) {
  using Action = ModesOptions::Action;
  auto* modes = app.add_subcommand("modes", help("cli.help.modes"));
  modes->require_subcommand(0, 1);
  auto bare = std::make_shared<ModesOptions>();
  addJson(modes, bare->isJson);
  modes->callback([bare, modes, &invocation] {
    if (modes->get_subcommands().empty()) invocation.command = *bare;
  });
  auto* list = modes->add_subcommand("list", help("cli.help.modes.list"));
  addJson(list, choice<ModesOptions>(list, invocation, Action::list)->isJson);
  auto* show = modes->add_subcommand("show", help("cli.help.modes.show"));
  auto showOptions = choice<ModesOptions>(show, invocation, Action::show);
  show->add_option("mode", showOptions->name, help("cli.help.modes.mode"))->required();
  addJson(show, showOptions->isJson);
  auto* add = modes->add_subcommand("add", help("cli.help.modes.add"));
  auto addOptions = choice<ModesOptions>(add, invocation, Action::add);
  add->add_option("name", addOptions->name, help("cli.help.modes.newName"))->required();
  addModeFields(add, *addOptions);
  auto* edit = modes->add_subcommand("edit", help("cli.help.modes.edit"));
  auto editOptions = choice<ModesOptions>(edit, invocation, Action::edit);
  edit->add_option("mode", editOptions->name, help("cli.help.modes.mode"))->required();
  edit->add_option("--name", editOptions->newName, help("cli.help.modes.newName"));
  addModeFields(edit, *editOptions);
  auto* remove = modes->add_subcommand("delete", help("cli.help.modes.delete"));
  auto removeOptions = choice<ModesOptions>(remove, invocation, Action::remove);
  remove->add_option("mode", removeOptions->name, help("cli.help.modes.mode"))->required();
  auto* use = modes->add_subcommand("use", help("cli.help.modes.use"));
  auto useOptions = choice<ModesOptions>(use, invocation, Action::use);
  use->add_option("mode", useOptions->name, help("cli.help.modes.mode"))->required();
}

void addVocabulary(CLI::App& app, Invocation& invocation) {
  using Action = VocabularyOptions::Action;
  auto* vocabulary = app.add_subcommand("vocabulary", help("cli.help.vocabulary"));
  vocabulary->require_subcommand(0, 1);
  auto bare = std::make_shared<VocabularyOptions>();
  addJson(vocabulary, bare->isJson);
  vocabulary->callback([bare, vocabulary, &invocation] {
    if (vocabulary->get_subcommands().empty()) invocation.command = *bare;
  });
  auto* list = vocabulary->add_subcommand("list", help("cli.help.vocabulary.list"));
  addJson(list, choice<VocabularyOptions>(list, invocation, Action::list)->isJson);
  auto* add = vocabulary->add_subcommand("add", help("cli.help.vocabulary.add"));
  auto addOptions = choice<VocabularyOptions>(add, invocation, Action::add);
  add->add_option("word", addOptions->word, help("cli.help.vocabulary.word"))->required();
  add->add_option("replacement", addOptions->replacement, help("cli.help.vocabulary.replacement"));
  auto* remove = vocabulary->add_subcommand("remove", help("cli.help.vocabulary.remove"));
  auto removeOptions = choice<VocabularyOptions>(remove, invocation, Action::remove);
  remove->add_option("word", removeOptions->word, help("cli.help.vocabulary.word"))->required();
}

void addSettings(CLI::App& app, Invocation& invocation) {
  using Action = SettingsOptions::Action;
  auto* settings = app.add_subcommand("settings", help("cli.help.settings"));
  settings->require_subcommand(0, 1);
  auto bare = std::make_shared<SettingsOptions>();
  addJson(settings, bare->isJson);
  settings->callback([bare, settings, &invocation] {
    if (settings->get_subcommands().empty()) invocation.command = *bare;
  });
  auto* list = settings->add_subcommand("list", help("cli.help.settings.list"));
  addJson(list, choice<SettingsOptions>(list, invocation, Action::list)->isJson);
  auto* get = settings->add_subcommand("get", help("cli.help.settings.get"));
  auto getOptions = choice<SettingsOptions>(get, invocation, Action::get);
  get->add_option("key", getOptions->key, help("cli.help.settings.key"))->required();
  addJson(get, getOptions->isJson);
  auto* set = settings->add_subcommand("set", help("cli.help.settings.set"));
  auto setOptions = choice<SettingsOptions>(set, invocation, Action::set);
  set->add_option("key", setOptions->key, help("cli.help.settings.key"))->required();
  set->add_option("value", setOptions->value, help("cli.help.settings.value"))->required();
  auto* reset = settings->add_subcommand("reset", help("cli.help.settings.reset"));
  auto resetOptions = choice<SettingsOptions>(reset, invocation, Action::reset);
  reset->add_option("key", resetOptions->key, help("cli.help.settings.key"));
  reset->add_flag("--all", resetOptions->isAll, help("cli.help.settings.all"));
  auto* describe = settings->add_subcommand("describe", help("cli.help.settings.describe"));
  choice<SettingsOptions>(describe, invocation, Action::describe);
  auto* path = settings->add_subcommand("path", help("cli.help.settings.path"));
  choice<SettingsOptions>(path, invocation, Action::path);
}

void addDictate(CLI::App& app, Invocation& invocation) {
  auto* command = app.add_subcommand("dictate", help("cli.help.dictate"));
  auto options = std::make_shared<DictateOptions>();
  command->add_option("--mode", options->mode, help("cli.help.transcribe.mode"));
  command->add_option("--model", options->model, help("cli.help.transcribe.model"));
  command->add_option("--language", options->language, help("cli.help.transcribe.language"));
  command->add_option("--seconds", options->seconds, help("cli.help.dictate.seconds"))->check(CLI::Range(1.0, 36000.0));
  command->add_option("--silence", options->silence, help("cli.help.dictate.silence"))->check(CLI::Range(0.5, 60.0));
  command->add_flag("--type", options->isTyped, help("cli.help.dictate.type"));
  addJson(command, options->isJson);
  command->add_flag("--no-history", options->isWithoutHistory, help("cli.help.transcribe.noHistory"));
  command->add_flag("--timings", options->showsTimings, help("cli.help.dictate.timings"));
  command->add_flag("-q,--quiet", options->isQuiet, help("cli.help.quiet"));
  command->callback([options, &invocation] { invocation.command = *options; });
}

void addDoctor(CLI::App& app, Invocation& invocation) {
  auto* command = app.add_subcommand("doctor", help("cli.help.doctor"));
  auto options = std::make_shared<DoctorOptions>();
  addJson(command, options->isJson);
  command->callback([options, &invocation] { invocation.command = *options; });
}

void addControl(CLI::App& app, Invocation& invocation) {
  using Action = ControlOptions::Action;
  auto* toggle = app.add_subcommand("toggle", help("cli.help.toggle"));
  toggle->add_option("--mode", choice<ControlOptions>(toggle, invocation, Action::toggle)->mode,
                     help("cli.help.toggle.mode"));
  choice<ControlOptions>(app.add_subcommand("cancel", help("cli.help.cancel")), invocation, Action::cancel);
  auto* status = app.add_subcommand("status", help("cli.help.status"));
  addJson(status, choice<ControlOptions>(status, invocation, Action::status)->isJson);
  choice<ControlOptions>(app.add_subcommand("show", help("cli.help.show")), invocation, Action::show);
  choice<ControlOptions>(app.add_subcommand("quit", help("cli.help.quit")), invocation, Action::quit);
}

void addCompletion(CLI::App& app, Invocation& invocation) {
  auto* completion = app.add_subcommand("completion", help("cli.help.completion"));
  auto options = std::make_shared<CompletionOptions>();
  completion->add_option("shell", options->shell, help("cli.help.completion.shell"))
      ->required()
      ->check(CLI::IsMember({"bash", "zsh", "fish"}));
  completion->callback([options, &invocation] { invocation.command = *options; });
}

}  // namespace

CommandLine::CommandLine(Invocation& invocation)
    : tree_(std::make_unique<CLI::App>(help("cli.help.program"), "quillmere")) {
  CLI::App* app = tree_.get();
  app->require_subcommand(1);
  app->fallthrough();
  app->set_help_flag("-h,--help", help("cli.help.help"));
  app->add_flag("-v,--verbose", invocation.isVerbose, help("cli.help.verbose"));
  app->set_version_flag("--version", "quillmere " QUILLMERE_VERSION, help("cli.help.version"));
  app->footer(help("cli.help.footer"));
  addTranscribe(*app, invocation);
  addDictate(*app, invocation);
  addControl(*app, invocation);
  addHistory(*app, invocation);
  addModels(*app, invocation);
  addModes(*app, invocation);
  addVocabulary(*app, invocation);
  addSettings(*app, invocation);
  addDoctor(*app, invocation);
  addCompletion(*app, invocation);
}

CommandLine::~CommandLine() = default;

std::optional<int> CommandLine::parse(int argc, const char* const* argv) {
  try {
    tree_->parse(argc, argv);
    return std::nullopt;
  } catch (const CLI::ParseError& end) {
    return tree_->exit(end) == 0 ? int(exitOk) : int(exitUsage);
  }
}

}  // namespace quillmere
