#include "app/windows/ToastWindow.h"

namespace quillmere {
namespace {

QString kindName(ToastContent::Kind kind) {
  switch (kind) {
    case ToastContent::Kind::critical:
      return QStringLiteral("critical");
    case ToastContent::Kind::mode:
      return QStringLiteral("mode");
    case ToastContent::Kind::notice:
      break;
  }
  return QStringLiteral("notice");
}

}  // namespace

void ToastWindow::show(const ToastContent& content, std::function<void()> onDismiss) {
  onDismiss_ = std::move(onDismiss);
  QQuickWindow* const window = window_.window();
  if (!window) return;
  window->setProperty("toast", QVariant::fromValue<QObject*>(this));
  window->setProperty("kind", kindName(content.kind));
  window->setProperty("message", content.text);
  window_.show();
}

void ToastWindow::hide() {
  window_.hide();
}

void ToastWindow::dismiss() {
  if (const auto dismissed = onDismiss_) dismissed();
}

}  // namespace quillmere
