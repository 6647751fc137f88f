#include <QJsonObject>

#include "app/cli/Commands.h"
#include "app/cli/SavedChanges.h"
#include "app/compose/Services.h"
#include "base/text/LocalizedText.h"

namespace quillmere {

Task<int> runVocabulary(CommandContext context, VocabularyOptions options) {
  PersistenceController& store = *context.services.persistence;
  const QString word = argumentText(options.word).trimmed();
  switch (options.action) {
    case VocabularyOptions::Action::list:
      for (const VocabularyPtr& row : store.fetchAllVocabularyItems()) {
        const QString shown = row->word.value_or(QString());
        if (options.isJson) {
          QJsonObject object{{"word", shown}};
          if (row->replacement) object["replacement"] = *row->replacement;
          context.terminal.json(object);
        } else {
          context.terminal.out(row->replacement ? shown + QStringLiteral("\t→ ") + *row->replacement : shown);
        }
      }
      co_return exitOk;
    case VocabularyOptions::Action::add: {
      if (word.isEmpty()) co_return fail(context, {localizedText("cli.vocabulary.empty"), exitUsage});
      std::optional<QString> replacement;
      if (options.replacement) replacement = argumentText(*options.replacement);
      if (!store.addVocabularyItem(word, replacement))
        co_return fail(context, {localizedText("cli.vocabulary.duplicate", word), exitFailure});
      co_return co_await exitWhenSaved(context);
    }
    case VocabularyOptions::Action::remove:
      if (!store.deleteVocabularyItem(word))
        co_return fail(context, {localizedText("cli.vocabulary.unknown", word), exitFailure});
      co_return co_await exitWhenSaved(context);
  }
  co_return exitFailure;
}

}  // namespace quillmere
