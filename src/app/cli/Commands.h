#pragma once
#include "app/cli/CommandContext.h"
#include "app/cli/CommandOptions.h"
#include "domain/Entities.h"

namespace quillmere {

// The commands of the command line. Each gives the process's exit code; a cancel leaves nothing half done.
Task<int> runTranscribe(CommandContext context, TranscribeOptions options);
Task<int> runHistory(CommandContext context, HistoryOptions options);
Task<int> runModels(CommandContext context, ModelsOptions options);
Task<int> runModes(CommandContext context, ModesOptions options);
Task<int> runVocabulary(CommandContext context, VocabularyOptions options);
Task<int> runSettings(CommandContext context, SettingsOptions options);
Task<int> runControl(CommandContext context, ControlOptions options);

// A mode by name or identifier, as a person types it.
Result<ModePtr, CommandFailure> findMode(CommandContext& context, const QString& nameOrId);

// The text of argv bytes; bytes that are no UTF-8 become replacement characters.
inline QString argumentText(const std::string& bytes) {
  return QString::fromUtf8(bytes.data(), qsizetype(bytes.size()));
}

}  // namespace quillmere
