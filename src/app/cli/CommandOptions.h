#pragma once
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace quillmere {

// The command line as plain values. Paths are kept as the bytes the shell gave.
struct TranscribeOptions {
  std::vector<std::string> files;
  std::optional<std::string> mode, model, language;
  bool isJson = false, isWithoutHistory = false, isQuiet = false;
};

struct HistoryOptions {
  enum class Action { list, show, remove, retry };
  Action action = Action::list;
  std::vector<std::string> ids;
  std::optional<std::string> search;
  std::optional<std::string> mode, model, language;  // of a retry
  int limit = 20, offset = 0;
  bool isDiscarded = false;  // lists the recordings that were thrown away
  bool isJson = false, isConfirmed = false;
};

struct ModelsOptions {
  enum class Action { list, download, remove, import, path };
  Action action = Action::list;
  std::vector<std::string> names;
  std::optional<std::string> importName;
  bool isJson = false, isFresh = false, isQuiet = false;
};

struct ModesOptions {
  enum class Action { list, show, add, edit, remove, use };
  Action action = Action::list;
  std::string name;
  std::optional<std::string> newName, preset, language, model, prompt, instructions, spelling, cloudProvider,
      cloudModel, postProcessing, postProcessingProvider, languageModel, accuracy;
  std::optional<bool> punctuation, capitalization, profanityFilter;
  bool isJson = false;
};

struct VocabularyOptions {
  enum class Action { list, add, remove };
  Action action = Action::list;
  std::string word;
  std::optional<std::string> replacement;
  bool isJson = false;
};

struct SettingsOptions {
  enum class Action { list, get, set, reset, path, describe };
  Action action = Action::list;
  std::string key, value;
  bool isJson = false, isAll = false;
};

// Commands of the session program: they need the sound server or the display.
struct DictateOptions {
  std::optional<std::string> mode, model, language;
  std::optional<double> seconds;  // stop after so long
  std::optional<double> silence;  // stop after so many seconds without speech
  bool isTyped = false;           // into the focused field instead of onto the output
  bool isJson = false, isWithoutHistory = false, isQuiet = false, showsTimings = false;
};

struct DoctorOptions {
  bool isJson = false;
};

// What is asked of the running application.
struct ControlOptions {
  enum class Action { toggle, cancel, status, show, quit };
  Action action = Action::status;
  std::optional<std::string> mode;
  bool isJson = false;
};

struct CompletionOptions {
  std::string shell;
};

using CommandOptions =
    std::variant<std::monostate, TranscribeOptions, HistoryOptions, ModelsOptions, ModesOptions, VocabularyOptions,
                 SettingsOptions, DictateOptions, DoctorOptions, ControlOptions, CompletionOptions>;

struct Invocation {
  CommandOptions command;
  bool isVerbose = false;
};

}  // namespace quillmere
