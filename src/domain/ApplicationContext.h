#pragma once
#include <QString>
#include <optional>

namespace quillmere {

// The control that has the keyboard, as accessibility names it ("AXTextField", ...).
struct FocusedElementInfo {
  std::optional<QString> role;
  std::optional<QString> title;
  std::optional<QString> description;
  std::optional<QString> value;
  std::optional<QString> placeholder;
  bool operator==(const FocusedElementInfo&) const = default;
};

// What the user was working in when a recording began.
struct ApplicationContext {
  QString appName = QStringLiteral("Unknown");
  QString bundleId;  // empty when unknown
  QString category;
  QString description;
  std::optional<QString> browserTabTitle;
  FocusedElementInfo focusedElement;
  QString textInputFormat;  // "url", "code", "email", "command", "markdown" or "text"
  QString contextQuality;   // "Full", "Partial" or "Limited"
  bool operator==(const ApplicationContext&) const = default;
};

}  // namespace quillmere
