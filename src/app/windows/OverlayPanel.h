#pragma once
#include "app/windows/FloatingWindow.h"
#include "app/windows/OverlayBridge.h"
#include "interface/RecordingPanel.h"

namespace quillmere {

// One appearance of the recording pill. The window and the bridge to its QML are kept between appearances and outlive
// this object. Main thread.
class OverlayPanel final : public RecordingPanel {
 public:
  OverlayPanel(FloatingWindow& window, OverlayBridge& bridge) : window_(window), bridge_(bridge) {}
  ~OverlayPanel() override { hide(); }

  void setHandlers(Handlers handlers) override { bridge_.setHandlers(std::move(handlers)); }
  void show(const OverlayContent& content) override;
  void update(const OverlayContent& content) override { bridge_.setContent(content); }
  void setLevel(float verticalScale, double durationSeconds) override {
    bridge_.setLevel(verticalScale, durationSeconds);
  }
  void hide() override;
  void orderFront() override { window_.orderFront(); }
  void setLocalKeysEnabled(bool isEnabled) override { bridge_.setLocalKeysEnabled(isEnabled); }
  [[nodiscard]] Subscription observeScreens(std::function<void()> observer) override;

 private:
  FloatingWindow& window_;
  OverlayBridge& bridge_;
  bool isShown_ = false;
};

}  // namespace quillmere
