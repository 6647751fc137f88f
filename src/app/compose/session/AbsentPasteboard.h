#pragma once
#include "base/async/Async.h"
#include "ports/Pasteboard.h"

namespace quillmere {

// Stands behind the port where there is no display. Recording and transcribing work without one.
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
  bool writeSelection(const std::optional<QString>&) override { return false; }
  bool ownsSelection() const override { return false; }
};

}  // namespace quillmere
