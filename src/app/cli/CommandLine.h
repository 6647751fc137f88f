#pragma once
#include <memory>
#include <optional>
#include <string>

#include "app/cli/CommandOptions.h"

namespace CLI {
class App;
}

namespace quillmere {

// The tree of commands, options and help texts. Texts come from the installed text table.
class CommandLine {
 public:
  // Parsing writes into `invocation`, which outlives this object.
  explicit CommandLine(Invocation& invocation);
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;
  ~CommandLine();

  // The exit code where there is nothing left to do: help or version were printed, or what is wrong was said.
  std::optional<int> parse(int argc, const char* const* argv);

  CLI::App& tree() { return *tree_; }

 private:
  std::unique_ptr<CLI::App> tree_;
};

// Completion scripts for "bash", "zsh" and "fish", made from the tree; empty for another shell.
std::string completionScript(const CLI::App& tree, const std::string& shell);

}  // namespace quillmere
