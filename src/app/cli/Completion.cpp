#include <CLI/CLI.hpp>
#include <sstream>

#include "app/cli/CommandLine.h"

namespace quillmere {
namespace {

struct Word {
  std::string text;
  std::string help;
};

std::string firstLine(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

std::vector<Word> wordsOf(const CLI::App& command) {
  std::vector<Word> words;
  for (const CLI::App* sub : command.get_subcommands([](const CLI::App*) { return true; }))
    words.push_back({sub->get_name(), firstLine(sub->get_description())});
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames())
      words.push_back({"--" + name, firstLine(option->get_description())});
    for (const std::string& name : option->get_snames())
      words.push_back({"-" + name, firstLine(option->get_description())});
  }
  return words;
}

// Calls visit(path, command) for the program and every command below it; the path is "transcribe", "history list", ...
void walk(const CLI::App& command, const std::string& path,
          const std::function<void(const std::string&, const CLI::App&)>& visit) {
  visit(path, command);
  for (const CLI::App* sub : command.get_subcommands([](const CLI::App*) { return true; }))
    walk(*sub, path.empty() ? sub->get_name() : path + " " + sub->get_name(), visit);
}

std::string quoted(const std::string& text) {
  std::string out = "'";
  for (const char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

std::string bash(const CLI::App& tree) {
  std::ostringstream out;
  out << "# bash completion for quillmere\n_quillmere() {\n"
         "  local cur=${COMP_WORDS[COMP_CWORD]} path= word i\n"
         "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
         "    word=${COMP_WORDS[i]}\n"
         "    case \"$path $word\" in\n";
  walk(tree, "", [&](const std::string& path, const CLI::App&) {
    if (!path.empty())
      out << "      " << quoted(path.find(' ') == std::string::npos ? " " + path : path) << ") path=" << quoted(path)
          << ";;\n";
  });
  out << "    esac\n  done\n  local words=\n  case \"$path\" in\n";
  walk(tree, "", [&](const std::string& path, const CLI::App& command) {
    out << "    " << quoted(path) << ") words=\"";
    for (const Word& word : wordsOf(command)) out << word.text << ' ';
    out << "\";;\n";
  });
  out << "  esac\n"
         "  COMPREPLY=($(compgen -W \"$words\" -- \"$cur\"))\n"
         "  case \"$path\" in transcribe|'models import') COMPREPLY+=($(compgen -f -- \"$cur\"));; esac\n"
         "}\ncomplete -o filenames -F _quillmere quillmere\n";
  return out.str();
}

std::string zsh(const CLI::App& tree) {
  std::ostringstream out;
  out << "#compdef quillmere\n_quillmere() {\n  local path= word i\n"
         "  for ((i = 2; i < CURRENT; i++)); do\n    word=${words[i]}\n    case \"$path $word\" in\n";
  walk(tree, "", [&](const std::string& path, const CLI::App&) {
    if (!path.empty())
      out << "      " << quoted(path.find(' ') == std::string::npos ? " " + path : path) << ") path=" << quoted(path)
          << ";;\n";
  });
  out << "    esac\n  done\n  local -a choices\n  case \"$path\" in\n";
  walk(tree, "", [&](const std::string& path, const CLI::App& command) {
    out << "    " << quoted(path) << ") choices=(";
    for (const Word& word : wordsOf(command)) {
      std::string help = word.help;
      for (size_t at = 0; (at = help.find(':', at)) != std::string::npos; at += 2) help.insert(at, "\\");
      out << quoted(word.text + ":" + help) << ' ';
    }
    out << ");;\n";
  });
  out << "  esac\n  _describe 'command' choices\n"
         "  case \"$path\" in transcribe|'models import') _files;; esac\n}\n_quillmere \"$@\"\n";
  return out.str();
}

std::string fish(const CLI::App& tree) {
  std::ostringstream out;
  out << "# fish completion for quillmere\n";
  walk(tree, "", [&](const std::string& path, const CLI::App& command) {
    std::string condition;
    if (path.empty()) {
      condition = "__fish_use_subcommand";
    } else {
      std::istringstream parts(path);
      for (std::string part; parts >> part;)
        condition += (condition.empty() ? "" : "; and ") + ("__fish_seen_subcommand_from " + part);
    }
    const bool takesFiles = path == "transcribe" || path == "models import";
    for (const Word& word : wordsOf(command)) {
      out << "complete -c quillmere -n " << quoted(condition) << (takesFiles ? "" : " -f");
      if (word.text.rfind("--", 0) == 0)
        out << " -l " << word.text.substr(2);
      else if (word.text[0] == '-')
        out << " -s " << word.text.substr(1);
      else
        out << " -a " << word.text;
      out << " -d " << quoted(word.help) << '\n';
    }
  });
  return out.str();
}

}  // namespace

std::string completionScript(const CLI::App& tree, const std::string& shell) {
  if (shell == "bash") return bash(tree);
  if (shell == "zsh") return zsh(tree);
  if (shell == "fish") return fish(tree);
  return {};
}

}  // namespace quillmere
