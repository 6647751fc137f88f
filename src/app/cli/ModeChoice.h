#pragma once
#include <optional>
#include <string>

#include "app/cli/CommandContext.h"
#include "domain/Entities.h"
#include "domain/Errors.h"

namespace quillmere {

// What the command line says about how to transcribe.
struct ModeWishes {
  std::optional<std::string> mode, model, language;
};

// The mode for one run: the named one, else `before` (of a retried transcript; may be null) where it runs on this
// computer, else the selected one, else a plain local one; with model and language as wished. The result is a copy that
// belongs to no store.
Result<ModePtr, CommandFailure> chooseMode(CommandContext& context, const ModeWishes& wishes, const ModePtr& before);

// Says before anything is copied or spoken that the mode's model, key or service isn't there. No service is asked.
std::optional<CommandFailure> whyModeCannotRun(const Services& services, const Mode& mode);

// The shell's number for a failed transcription.
ExitCode exitCodeFor(const AnyError& error);
// A sentence where the local model that is meant doesn't know the language.
std::optional<CommandFailure> whyLanguageDoesNotFit(const Services& services, const QString& model,
                                                    const QString& language);

}  // namespace quillmere
