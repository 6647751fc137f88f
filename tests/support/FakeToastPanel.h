#pragma once
#include <vector>

#include "interface/ToastPanel.h"

namespace quillmere {

class FakeToastPanel final : public ToastPanel {
 public:
  std::vector<ToastContent> shown;
  bool isVisible = false;
  std::function<void()> onDismiss;
  void show(const ToastContent& content, std::function<void()> dismissed) override {
    shown.push_back(content);
    onDismiss = std::move(dismissed);
    isVisible = true;
  }
  void hide() override { isVisible = false; }
};

}  // namespace quillmere
