#pragma once
#include <QString>
#include <optional>

#include "platform/atspi/AtspiObjects.h"

namespace quillmere {

// Reads the text of objects, never that of a password field. Accessibility thread.
class AtspiText {
 public:
  explicit AtspiText(AtspiObjects& objects) : objects_(objects) {}

  // The content; of a long one the first 20,000 characters, of a terminal the last ones. Parts that are objects of
  // their own (paragraphs of an editor in a web page) are read too. Nothing where there is no text interface.
  std::optional<QString> content(const AtspiElement& element);
  // Of a document also what is selected in the objects inside it. Nothing: no text interface, or nothing selected.
  std::optional<QString> selection(const AtspiElement& element);

 private:
  std::optional<QString> range(const AtspiElement& element, int begin, int end, int& budget);
  std::optional<QString> selectionOf(const AtspiElement& element, int& budget);
  bool isReadable(const AtspiElement& element);

  AtspiObjects& objects_;
};

}  // namespace quillmere
