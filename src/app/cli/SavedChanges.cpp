#include "app/cli/SavedChanges.h"

#include "app/compose/Services.h"
#include "base/text/LocalizedText.h"

namespace quillmere {

Task<int> exitWhenSaved(CommandContext context) {
  if (co_await context.services.persistence->waitUntilSaved()) co_return exitOk;
  co_return fail(context, {localizedText("cli.store.notSaved"), exitStore});
}

}  // namespace quillmere
