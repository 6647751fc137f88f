#include "platform/linux/InotifyFileEvents.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <QFile>
#include <QSocketNotifier>
#include <array>

namespace quillmere {
namespace {

class InotifyWatch final : public FileEvents::Watch {
 public:
  InotifyWatch(int descriptor, std::function<void()> onWrite)
      : descriptor_(descriptor), onWrite_(std::move(onWrite)), notifier_(descriptor, QSocketNotifier::Read) {
    QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_, [this] { readable(); });
  }
  ~InotifyWatch() override {
    notifier_.setEnabled(false);
    ::close(descriptor_);
  }

 private:
  void readable() {
    alignas(inotify_event) std::array<char, 4096> events;
    bool hasWrite = false;
    for (;;) {
      const ssize_t size = ::read(descriptor_, events.data(), events.size());
      if (size <= 0) break;
      for (ssize_t at = 0; at < size;) {
        const auto* const event = reinterpret_cast<const inotify_event*>(events.data() + at);
        hasWrite |= (event->mask & (IN_MODIFY | IN_Q_OVERFLOW)) != 0;
        at += ssize_t(sizeof(inotify_event) + event->len);
      }
    }
    // The function may end the watch.
    if (const auto onWrite = onWrite_; hasWrite) onWrite();
  }

  const int descriptor_;
  const std::function<void()> onWrite_;
  QSocketNotifier notifier_;
};

}  // namespace

std::unique_ptr<FileEvents::Watch> InotifyFileEvents::watch(const QString& path, std::function<void()> onWrite) {
  const int descriptor = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (descriptor < 0) return nullptr;
  if (::inotify_add_watch(descriptor, QFile::encodeName(path).constData(), IN_MODIFY) < 0) {
    ::close(descriptor);
    return nullptr;
  }
  return std::make_unique<InotifyWatch>(descriptor, std::move(onWrite));
}

}  // namespace quillmere
