#pragma once
#include <QRect>
#include <QString>
#include <optional>

#include "platform/atspi/AtspiObjects.h"

namespace quillmere {

// Reads the text of objects, never that of a password field or of another that doesn't show what it has. Accessibility
// thread.
class AtspiText {
 public:
  explicit AtspiText(AtspiObjects& objects) : objects_(objects) {}

  // A password field, or a field of GTK 4 that was told to show dots: it has the role of any other field and gives its
  // real text to whoever asks. While such a field is empty nothing tells it from others.
  bool isHidden(const AtspiElement& element);
  // The content; of a long one the first 20,000 characters, of a terminal the last ones. Parts that are objects of
  // their own (paragraphs of an editor in a web page) are read too. Nothing where there is no text interface.
  std::optional<QString> content(const AtspiElement& element);
  // Of a document also what is selected in the objects inside it. Nothing: no text interface, or nothing selected.
  std::optional<QString> selection(const AtspiElement& element);

  // Where the cursor stands, in the display's pixels.
  std::optional<QRect> caret(const AtspiElement& element);

 private:
  std::optional<QString> range(const AtspiElement& element, int begin, int end, int& budget);
  std::optional<QString> selectionOf(const AtspiElement& element, int& budget);
  bool showsDots(const AtspiElement& element);
  bool isReadable(const AtspiElement& element);

  AtspiObjects& objects_;
};

}  // namespace quillmere
