#pragma once
#include <QString>
#include <vector>

#include "base/log/Logger.h"
#include "domain/ProcessedTag.h"

namespace quillmere {

// Deterministic rules for the text of a transcript. Pure functions, any thread; none of them fails, at worst the text
// comes back unchanged.
struct TranscriptionTextProcessing {
  // The log category of this room.
  static constexpr const char* logCategory = "TextProcessing";

  struct TextSegment {
    enum class Kind {
      text,          // pasted unchanged
      fileReference  // stands for a matched file tag and is pasted by itself
    };
    Kind kind = Kind::text;
    QString content;
    bool operator==(const TextSegment&) const = default;
  };

  // Takes out the phrases that a recogniser invents on silence and closes the gaps. A rest of one or two characters
  // without a letter becomes the empty text.
  static QString removeHallucinations(QString text);

  // "new line" and "newline", with the punctuation after it, become two line ends.
  static QString applyVoiceCommands(const QString& text, const Logger& logger = {});

  // Adds one space where the next dictation would otherwise touch this text. `language` is the mode's code; "auto"
  // decides by the script.
  static QString appendTrailingSpace(const QString& text, const QString& language);

  // Cuts the text at the replaced tags. Ranges are positions in `text`.
  static std::vector<TextSegment> segmentText(const QString& text, const std::vector<ProcessedTag>& processedTags,
                                              const Logger& logger = {});
};

}  // namespace quillmere
