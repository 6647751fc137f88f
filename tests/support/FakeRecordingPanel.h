#pragma once
#include <QStringList>
#include <vector>

#include "interface/RecordingPanel.h"

namespace quillmere {

// What happened to the panels of one factory.
struct FakePanelRecord {
  int shown = 0, hidden = 0;
  bool hasLocalKeys = false;
  std::vector<OverlayContent> contents;
  float verticalScale = 0;
  RecordingPanel::Handlers handlers;
  int open() const { return shown - hidden; }
};

class FakeRecordingPanel final : public RecordingPanel {
 public:
  explicit FakeRecordingPanel(FakePanelRecord& record) : record_(record) {}
  void setHandlers(Handlers handlers) override { record_.handlers = std::move(handlers); }
  void show(const OverlayContent& content) override {
    ++record_.shown;
    record_.contents.push_back(content);
  }
  void update(const OverlayContent& content) override { record_.contents.push_back(content); }
  void setLevel(float verticalScale, double) override { record_.verticalScale = verticalScale; }
  void hide() override { ++record_.hidden; }
  void orderFront() override {}
  void setLocalKeysEnabled(bool isEnabled) override { record_.hasLocalKeys = isEnabled; }
  [[nodiscard]] Subscription observeScreens(std::function<void()>) override { return {}; }

 private:
  FakePanelRecord& record_;
};

}  // namespace quillmere
