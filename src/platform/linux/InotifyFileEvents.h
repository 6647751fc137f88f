#pragma once
#include "ports/FileEvents.h"

namespace quillmere {

// FileEvents over inotify. Needs a running Qt event loop. Writes that come in quick succession may be told as one.
class InotifyFileEvents final : public FileEvents {
 public:
  std::unique_ptr<Watch> watch(const QString& path, std::function<void()> onWrite) override;
};

}  // namespace quillmere
