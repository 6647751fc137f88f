#pragma once
#include <QString>
#include <functional>
#include <memory>

namespace quillmere {

// Tells of writes to one existing file. Main thread.
class FileEvents {
 public:
  class Watch {
   public:
    virtual ~Watch() = default;
  };
  virtual ~FileEvents() = default;
  // `onWrite` runs on the main thread for each write until the watch goes. nullptr when the file can't be watched.
  virtual std::unique_ptr<Watch> watch(const QString& path, std::function<void()> onWrite) = 0;
};

}  // namespace quillmere
