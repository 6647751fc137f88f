#pragma once
#include <QString>
#include <functional>

namespace quillmere {

struct ToastContent {
  enum class Kind { notice, critical, mode };
  Kind kind = Kind::notice;
  QString text;
  bool operator==(const ToastContent&) const = default;
};

// A window for one short message. Main thread. It never takes the keyboard. Showing again replaces the message.
class ToastPanel {
 public:
  virtual ~ToastPanel() = default;
  // `onDismiss`: the user clicked the message away.
  virtual void show(const ToastContent& content, std::function<void()> onDismiss) = 0;
  virtual void hide() = 0;
};

}  // namespace quillmere
