#pragma once
#include <QString>
#include <optional>

#include "domain/ApplicationContext.h"

// What is derived from the text that was read. Pure.
namespace quillmere {

// The title of a browser's tab without the browser's name at its end. Only one name is removed.
QString cleanedTabTitle(const QString& title);

// "url", "code", "email", "command", "markdown" or "text".
QString textInputFormat(const FocusedElementInfo& focused, const QString& category);

// "Full" with a tab title and a focused value, "Partial" with one of them, "Limited" with none.
QString contextQuality(const std::optional<QString>& tabTitle, const std::optional<QString>& value);

}  // namespace quillmere
