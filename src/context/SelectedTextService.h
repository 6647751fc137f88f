#pragma once
#include <QString>
#include <optional>

#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "context/SelectedTextReader.h"
#include "ports/Accessibility.h"

namespace quillmere {

// The text that is selected where the user dictates. Main thread. Failures give an absent value.
class SelectedTextService {
 public:
  SelectedTextService(Accessibility& accessibility, SelectedTextReader& reader, const Logging& logging);

  Task<std::optional<QString>> capture();

 private:
  Accessibility& accessibility_;
  SelectedTextReader& reader_;
  Logger logger_;
};

}  // namespace quillmere
