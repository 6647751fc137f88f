#include "context/TextTraits.h"

#include "base/text/Graphemes.h"

namespace quillmere {

QString cleanedTabTitle(const QString& title) {
  static const QString suffixes[] = {
      QStringLiteral(" - Google Chrome"),  QStringLiteral(" - Chrome"),     QStringLiteral(" - Brave"),
      QStringLiteral(" - Microsoft Edge"), QStringLiteral(" - Safari"),     QStringLiteral(" \u2014 Google Chrome"),
      QStringLiteral(" \u2014 Chrome"),    QStringLiteral(" \u2014 Brave"), QStringLiteral(" \u2014 Microsoft Edge"),
      QStringLiteral(" \u2014 Safari"),
  };
  for (const QString& suffix : suffixes)
    if (title.endsWith(suffix)) return title.chopped(suffix.size());
  return title;
}

QString textInputFormat(const FocusedElementInfo& focused, const QString& category) {
  if (const auto& value = focused.value) {
    for (const char* scheme : {"http://", "https://", "file://"})
      if (value->startsWith(QLatin1String(scheme))) return QStringLiteral("url");
    for (const char* word : {"function", "class", "import", "const", "def ", "if "})
      if (value->contains(QLatin1String(word))) return QStringLiteral("code");
    if (value->contains(QLatin1Char('@')) && value->contains(QLatin1Char('.'))) return QStringLiteral("email");
  }
  if (category == QLatin1String("Web Browser")) {
    if (focused.role == QStringLiteral("AXTextField") && focused.description) {
      const QString description = focused.description->toLower();
      for (const char* word : {"address", "url", "search"})
        if (description.contains(QLatin1String(word))) return QStringLiteral("url");
    }
    return QStringLiteral("text");
  }
  if (category == QLatin1String("Code Editor") || category == QLatin1String("IDE")) return QStringLiteral("code");
  if (category == QLatin1String("Terminal")) return QStringLiteral("command");
  if (category == QLatin1String("Email Client")) return QStringLiteral("email");
  if (category == QLatin1String("Note Taking")) return QStringLiteral("markdown");
  return QStringLiteral("text");
}

QString contextQuality(const std::optional<QString>& tabTitle, const std::optional<QString>& value) {
  const auto counts = [](const std::optional<QString>& text) { return text && !trimmedText(*text).isEmpty(); };
  if (counts(tabTitle) && counts(value)) return QStringLiteral("Full");
  return counts(tabTitle) || counts(value) ? QStringLiteral("Partial") : QStringLiteral("Limited");
}

}  // namespace quillmere
