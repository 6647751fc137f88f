#include "providers/LocalModelChoice.h"

#include "domain/WhisperModel.h"

namespace quillmere {
namespace {

bool isEnglish(const std::optional<QString>& language) {
  const QString lowered = language.value_or(QString()).toLower();
  return lowered == QLatin1String("en") || lowered.startsWith(QLatin1String("en-"));
}

}  // namespace

std::optional<LocalModelChoice> chooseLocalModel(const QString& text, const std::optional<QString>& language,
                                                 const std::function<bool(const QString&)>& isDownloaded) {
  if (!fromRawValue<WhisperModel>(text) && isDownloaded(text)) return LocalModelChoice{text, true};
  const auto model = lenientWhisperModel(text);
  if (!model) return std::nullopt;
  const QString name = rawValue(*model);
  if (isDownloaded(name)) return LocalModelChoice{name, true};
  const QString english = name + QStringLiteral(".en");
  if (isEnglish(language) && fromRawValue<WhisperModel>(english) && isDownloaded(english))
    return LocalModelChoice{english, true};
  return LocalModelChoice{name, false};
}

}  // namespace quillmere
