#pragma once
#include <QString>
#include <optional>
#include <vector>

namespace quillmere {

// The languages that speech models know, by code. Constant data; any thread.
class LanguageData {
 public:
  struct LanguageInfo {
    QString code;
    QString displayName;  // English
    bool operator==(const LanguageInfo&) const = default;
  };

  // The 101 languages proper, in table order, without regional variants and "auto".
  static const std::vector<LanguageInfo>& baseLanguages();
  // For pickers: "auto" first, then every entry with a name, sorted by that name.
  static const std::vector<LanguageInfo>& allLanguages();
  // The name of a code in any spelling ("HI_latn" -> "Hindi (Latin)"); nothing for a code that the table doesn't know.
  static std::optional<QString> displayName(const QString& code);
};

}  // namespace quillmere
