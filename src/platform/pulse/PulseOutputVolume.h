#pragma once
#include <optional>
#include <vector>

#include "platform/pulse/PulseConnection.h"
#include "ports/OutputVolume.h"

namespace quillmere {

// Volume of the default sink, as the user's mixer shows it. What setVolume(0) silenced is remembered: setting the
// percentage it had before restores that very sink, with its balance and a volume above 100 %, even if another has
// become the default meanwhile.
class PulseOutputVolume final : public OutputVolume {
 public:
  explicit PulseOutputVolume(PulseConnection& connection) : connection_(connection) {}
  Task<Result<int, PlatformError>> volume() override;
  Task<Result<void, PlatformError>> setVolume(int percent) override;

 private:
  struct Sink {
    QString name;
    std::vector<quint32> channels;
    int percent() const;
  };
  Task<Result<Sink, PlatformError>> read(QString name);
  Task<Result<void, PlatformError>> write(Sink sink);

  PulseConnection& connection_;
  std::optional<Sink> silenced_;
};

}  // namespace quillmere
