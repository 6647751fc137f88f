#pragma once
#include <QString>
#include <optional>

namespace quillmere {

// A stretch of a text in UTF-16 units: [start, end).
struct TextRange {
  qsizetype start = 0;
  qsizetype end = 0;
  bool operator==(const TextRange&) const = default;
};

// What became of one spoken file tag, "@{query}".
struct ProcessedTag {
  QString originalTag;
  QString replacement;                        // the tag itself when nothing replaced it
  std::optional<QString> matchedFile;         // path of the file that was found
  std::optional<TextRange> replacementRange;  // where the replacement stands, for a replaced tag
  bool operator==(const ProcessedTag&) const = default;
};

}  // namespace quillmere
