#pragma once
#include <QString>

namespace quillmere {

// One piece of a text that is pasted piece by piece.
struct PasteSegment {
  QString text;
  bool isFileReference = false;  // a file that was found, to become a mention in the editor
  bool operator==(const PasteSegment&) const = default;
};

}  // namespace quillmere
