#pragma once
#include <QString>
#include <optional>

#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "context/SelectedTextReader.h"
#include "ports/Accessibility.h"

namespace quillmere {

// The text that is selected where the user dictates. Main thread. The last one is kept until it is captured anew or
// forgotten. Failures give an absent value.
class SelectedTextService {
 public:
  SelectedTextService(Accessibility& accessibility, SelectedTextReader& reader, const Logging& logging);

  Task<std::optional<QString>> capture();
  const std::optional<QString>& lastCapturedText() const { return lastCapturedText_; }
  void forget() { lastCapturedText_.reset(); }

 private:
  Accessibility& accessibility_;
  SelectedTextReader& reader_;
  Logger logger_;
  std::optional<QString> lastCapturedText_;
};

}  // namespace quillmere
