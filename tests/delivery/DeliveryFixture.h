#pragma once
#include <gmock/gmock.h>

#include "delivery/AccessibilityHelper.h"
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

  static RunningApplication application(qint64 processId, const char* bundleId) {
    return {processId, QString::fromLatin1(bundleId), "Name", "Title", false};
  }
  static FakeAccessibilityNode::Ptr passwordField() {
    return node("AXTextField")->with("AXSubrole", "AXSecureTextField");
  }
  void putInFront(const char* bundleId) { workspace.setFrontmost(application(targetPID, bundleId)); }

  AccessibilityHelperHooks hooks() {
    AccessibilityHelperHooks all;
    all.isElectronEditor = [](const QString& bundleId) { return bundleId == "com.microsoft.VSCode"; };
    all.segmentText = [this](const QString&, const std::vector<ProcessedTag>&) { return segments; };
    all.openUrl = [this](const QString& url) { openedUrls.append(url); };
    return all;
  }

  void begin() { runTask(executor, helper.beginRecordingSession()); }
  SmartPasteResult::Kind paste(const QString& text, std::vector<ProcessedTag> tags = {},
                               std::optional<qint64> target = targetPID) {
    return runTask(executor, helper.smartPaste(text, std::move(tags), target)).kind;
  }
  SmartPasteResult::Kind dictate(const QString& text) {
    begin();
    helper.endRecordingSession();
    return paste(text);
  }
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
  QStringList openedUrls;
  AccessibilityHelper helper{{pasteboard, keys, workspace, accessibility, &settings, executor}, hooks(), logging};
};

}  // namespace quillmere
