#pragma once
#include <optional>

#include "platform/atspi/AtspiBus.h"
#include "platform/atspi/AtspiObjects.h"

namespace quillmere {

// Finds programs, active windows and what has the keyboard. What events told comes first but is believed only when the
// object itself says so now; then the program's own search (Collection), then a bounded walk. Accessibility thread.
class AtspiFocus {
 public:
  AtspiFocus(AtspiBus& bus, AtspiObjects& objects, std::optional<qint64> frontmostProcessId)
      : bus_(bus), objects_(objects), frontmostProcessId_(frontmostProcessId) {}

  // The root object of a process.
  AtspiElementPtr application(qint64 processId);
  // The program whose window has the keyboard.
  AtspiElementPtr frontmostApplication();
  AtspiElementPtr activeWindow(const AtspiElement& application);
  AtspiElementPtr focusedIn(const AtspiElement& application);

 private:
  AtspiElementPtr search(const AtspiElement& window);
  AtspiElementPtr walk(const AtspiElementPtr& window);
  AtspiElementPtr innermost(const std::vector<AtspiElementPtr>& focused);
  bool isText(const AtspiElement& element);

  AtspiBus& bus_;
  AtspiObjects& objects_;
  std::optional<qint64> frontmostProcessId_;
};

}  // namespace quillmere
