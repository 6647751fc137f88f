#include "app/windows/OverlayPanel.h"

#include <memory>

namespace quillmere {

void OverlayPanel::show(const OverlayContent& content) {
  isShown_ = true;
  bridge_.setLevel(0.25F, 0);
  bridge_.setContent(content);
  window_.show();
}

void OverlayPanel::hide() {
  if (!isShown_) return;
  isShown_ = false;
  bridge_.setHandlers({});
  bridge_.setLocalKeysEnabled(false);
  window_.hide();
}

Subscription OverlayPanel::observeScreens(std::function<void()> observer) {
  const auto connection = std::make_shared<QMetaObject::Connection>(
      QObject::connect(&window_, &FloatingWindow::screensChanged, &window_, std::move(observer)));
  return Subscription([connection] { QObject::disconnect(*connection); });
}

}  // namespace quillmere
