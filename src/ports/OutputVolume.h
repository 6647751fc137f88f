#pragma once
#include <QString>
#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "base/Result.h"
#include "base/async/Task.h"
#include "domain/Errors.h"

namespace quillmere {

// How loud one output is.
struct OutputLevel {
  QString uid;  // a device keeps it over re-attachments
  QString name;
  std::vector<double> channels;  // 1 is 100 %, more where the user amplifies

  // As a mixer shows it: the loudest channel, 0 to 100.
  int percent() const {
    const double loudest = channels.empty() ? 0 : *std::max_element(channels.begin(), channels.end());
    return std::clamp(int(std::lround(100 * loudest)), 0, 100);
  }
  bool operator==(const OutputLevel&) const = default;
};

// Volume of the outputs. Main thread; each call ends within 1 s. Fails where the server or the output is not there.
class OutputVolume {
 public:
  virtual ~OutputVolume() = default;
  // Of the output with that uid; without one of the default output.
  virtual Task<Result<OutputLevel, PlatformError>> level(std::optional<QString> uid = {}) = 0;
  // Onto the output that the level names, whether it is the default one or not.
  virtual Task<Result<void, PlatformError>> setLevel(OutputLevel level) = 0;
};

}  // namespace quillmere
