#include "context/SelectedTextService.h"

#include "base/text/Graphemes.h"

namespace quillmere {

SelectedTextService::SelectedTextService(Accessibility& accessibility, SelectedTextReader& reader,
                                         const Logging& logging)
    : accessibility_(accessibility), reader_(reader), logger_(logging.logger(QStringLiteral("SelectedTextService"))) {}

Task<std::optional<QString>> SelectedTextService::capture() {
  std::optional<QString> text;
  if (accessibility_.isTrusted()) {
    const Result<std::optional<QString>, QString> result = co_await reader_.read();
    if (result)
      text = result.value();
    else
      logger_.debug("Failed to get selected text: %s", result.error());
  }
  if (text && !text->isEmpty()) logger_.info("Captured selected text: %ld chars", graphemeCount(*text));
  co_return text;
}

}  // namespace quillmere
