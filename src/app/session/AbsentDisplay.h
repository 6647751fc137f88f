#pragma once
#include "base/async/Async.h"
#include "base/text/LocalizedText.h"
#include "ports/GlobalShortcuts.h"
#include "ports/KeyEventMonitor.h"
#include "ports/KeyInterceptor.h"
#include "ports/KeySynthesizer.h"
#include "ports/Pasteboard.h"
#include "ports/Workspace.h"

namespace quillmere {

// What stands behind the ports of the display where there is none: recording and transcribing work, nothing can be
// delivered into a window.
class AbsentWorkspace final : public Workspace {
 public:
  std::optional<RunningApplication> frontmostApplication() const override { return std::nullopt; }
  std::optional<RunningApplication> runningApplication(qint64) const override { return std::nullopt; }
  bool activate(qint64) override { return false; }
  void hideThisApplication() override {}
  Subscription observeFrontmost(std::function<void()>) override { return {}; }
  Subscription observeLaunches(std::function<void(const RunningApplication&)>) override { return {}; }
  bool forceTerminate(qint64) override { return false; }
};

class AbsentPasteboard final : public Pasteboard {
 public:
  Task<ClipboardItems> items() override { co_return ClipboardItems{}; }
  Task<std::optional<QString>> string() override { co_return std::nullopt; }
  quint64 changeCount() const override { return 0; }
  bool writeText(const QString&, bool) override { return false; }
  bool write(const ClipboardItems&) override { return false; }
  bool ownsContents() const override { return false; }
  void expectFetch() override {}
  bool wasFetched() const override { return false; }
  Task<bool> waitForFetch(Duration) override { co_return false; }
  Task<std::optional<QString>> selectionString() override { co_return std::nullopt; }
  bool writeSelection(const QString&) override { return false; }
  bool ownsSelection() const override { return false; }
};

class AbsentKeySynthesizer final : public KeySynthesizer {
 public:
  bool isAvailable() const override { return false; }
  std::optional<int> keyCodeForLetter(QChar) override { return std::nullopt; }
  Result<void, PlatformError> press(int, Modifier) override { return Failed{error()}; }
  Result<void, PlatformError> press(NamedKey, Modifier) override { return Failed{error()}; }

 private:
  static PlatformError error() { return {QStringLiteral("display"), 0, localizedText("doctor.display.absent")}; }
};

class AbsentKeyEventMonitor final : public KeyEventMonitor {
 public:
  bool start(std::function<void(const ModifierEvent&)>) override { return false; }
  void stop() override {}
};

class AbsentGlobalShortcuts final : public GlobalShortcuts {
 public:
  bool isAvailable() const override { return false; }
  Result<void, PlatformError> setShortcut(const QString&, std::optional<KeyCombination>) override { return {}; }
  std::optional<KeyCombination> shortcut(const QString&) const override { return std::nullopt; }
  void setHandlers(const QString&, Handlers) override {}
  void setEnabled(const QString&, bool) override {}
  Task<std::optional<KeyCombination>> recordCombination() override { co_return std::nullopt; }
};

class AbsentKeyInterceptor final : public KeyInterceptor {
 public:
  bool start(std::function<void()>, std::function<void()>) override { return false; }
  void stop() override {}
};

}  // namespace quillmere
