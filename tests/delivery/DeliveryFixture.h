#pragma once
#include <gmock/gmock.h>

#include "delivery/AutoPasteHandler.h"
#include "storage/SettingsManager.h"
#include "support/FakeAccessibility.h"
#include "support/FakeDefaultsStore.h"
#include "support/FakeKeySynthesizer.h"
#include "support/FakePasteboard.h"
#include "support/FakeWorkspace.h"
#include "support/ManualExecutor.h"
#include "support/RecordingLogSink.h"
#include "support/RunTask.h"

namespace quillmere {

// A user in a text field of an editor, with an image and its file name on the clipboard.
class DeliveryFixture : public testing::Test {
 protected:
  static constexpr qint64 targetPID = 100;
  static constexpr qint64 otherPID = 200;

  DeliveryFixture() {
    workspace.setFrontmost(application(targetPID, "org.example.editor"));
    workspace.applications.push_back(application(otherPID, "org.example.other"));
    accessibility.focus(node("AXTextField"));
    pasteboard.copyElsewhere(original);
  }

  static RunningApplication application(qint64 processId, const char* bundleId, quint64 windowId = 0) {
    return {processId, QString::fromLatin1(bundleId), "Name", "Title", false, windowId};
  }
  static FakeAccessibilityNode::Ptr passwordField() {
    return node("AXTextField")->with("AXSubrole", "AXSecureTextField");
  }
  void putInFront(const char* bundleId) { workspace.setFrontmost(application(targetPID, bundleId)); }

  AutoPasteHandlerHooks hooks() {
    AutoPasteHandlerHooks all;
    all.suspendKeyMonitor = [this](bool isSuspended) { suspensions.push_back(isSuspended); };
    all.showAlert = [this](const AccessibilityAlert& alert) { alerts.push_back(alert); };
    all.paste.isElectronEditor = [](const QString& bundleId) { return bundleId == "com.microsoft.VSCode"; };
    all.paste.segmentText = [this](const QString&, const std::vector<ProcessedTag>&) { return segments; };
    return all;
  }

  std::shared_ptr<ClipboardLoan> borrow() { return runTask(executor, handler.borrowClipboard()); }
  PasteRequest request(const QString& text, std::optional<qint64> target = targetPID,
                       std::shared_ptr<ClipboardLoan> loan = nullptr) {
    PasteRequest one;
    one.text = text;
    if (target) one.target = workspace.running(*target);
    one.clipboard = std::move(loan);
    return one;
  }
  PasteOutcome paste(PasteRequest one) { return runTask(executor, handler.paste(std::move(one))); }
  PasteOutcome paste(const QString& text) { return paste(request(text, targetPID, borrow())); }
  QString clipboardText() const { return pasteboard.plainText().value_or("(no text)"); }
  bool isOriginalBack() const { return pasteboard.contents == original; }

  static ClipboardItems imageAndFileName() {
    ClipboardItemData item;
    item.types = {"image/png", "text/uri-list"};
    item.data.insert("image/png", QByteArray("\x89PNG\0\xff", 6));
    item.data.insert("text/uri-list", QByteArrayLiteral("file:///tmp/a%20b.png\r\n"));
    return {item};
  }

  const ClipboardItems original = imageAndFileName();
  ManualExecutor executor;
  std::shared_ptr<RecordingLogSink> lines = std::make_shared<RecordingLogSink>();
  FakeDefaultsStore defaults;
  const Logging logging{lines};
  SettingsManager settings{defaults, StandardFolders{}, logging};
  FakePasteboard pasteboard;
  FakeKeySynthesizer keys;
  FakeWorkspace workspace;
  FakeAccessibility accessibility;
  std::vector<PasteSegment> segments;
  std::vector<bool> suspensions;
  std::vector<AccessibilityAlert> alerts;
  AccessibilityPermission permission{accessibility, executor, {}, logging};
  AutoPasteHandler handler{
      {pasteboard, keys, workspace, accessibility, permission, &settings, executor}, hooks(), logging};
};

}  // namespace quillmere
