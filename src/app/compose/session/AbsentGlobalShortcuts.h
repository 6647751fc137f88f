#pragma once
#include "base/async/Async.h"
#include "ports/GlobalShortcuts.h"

namespace quillmere {

// Stands behind the port where there is no display. Recording and transcribing work without one.
class AbsentGlobalShortcuts final : public GlobalShortcuts {
 public:
  bool isAvailable() const override { return false; }
  Result<void, PlatformError> setShortcut(const QString&, std::optional<KeyCombination>) override { return {}; }
  std::optional<KeyCombination> shortcut(const QString&) const override { return std::nullopt; }
  void setHandlers(const QString&, Handlers) override {}
  void setEnabled(const QString&, bool) override {}
  void yieldKeys(const QStringList&) override {}
  Task<std::optional<KeyCombination>> recordCombination(EscapeKey) override { co_return std::nullopt; }
};

}  // namespace quillmere
