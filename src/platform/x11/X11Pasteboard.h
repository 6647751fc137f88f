#pragma once
#include <memory>

#include "base/Result.h"
#include "base/async/Async.h"
#include "domain/Errors.h"
#include "ports/Pasteboard.h"

namespace quillmere {

class X11SelectionThread;

// The clipboard (and PRIMARY, the selection) of an X server. The selections are owned and read on a thread of their
// own with its own connection: other programs are served while the main thread is busy, and an owner that hangs holds
// up nobody. Reading gives each owner 1 s of silence and 2 s altogether.
// A fetch counts when it comes from the client whose window is active, or from one that never fetched a text before a
// keystroke was announced; that is what tells the target from clipboard managers.
// A server that dies ends reads with nothing and lets writes fail. Destroying it offers what is not concealed to a
// clipboard manager, if one runs, for at most 1 s.
class X11Pasteboard final : public Pasteboard {
 public:
  // An empty name means the variable DISPLAY. Blocks for the handshake. The executor outlives it.
  static Result<std::unique_ptr<X11Pasteboard>, PlatformError> open(Executor& executor,
                                                                    const QString& displayName = {});
  ~X11Pasteboard() override;

  Task<ClipboardItems> items() override;
  Task<std::optional<QString>> string() override;
  quint64 changeCount() const override;
  bool writeText(const QString& text, bool isConcealed) override;
  bool write(const ClipboardItems& items) override;
  bool ownsContents() const override;
  void expectFetch() override;
  bool wasFetched() const override;
  Task<bool> waitForFetch(Duration timeout) override;
  Task<std::optional<QString>> selectionString() override;
  bool writeSelection(const std::optional<QString>& text) override;
  bool ownsSelection() const override;

 private:
  struct Fetches;  // shared with what the thread posts to the main thread
  X11Pasteboard(Executor& executor, std::unique_ptr<X11SelectionThread> thread, std::shared_ptr<Fetches> fetches);

  Task<std::optional<QString>> readText(int selection);

  Executor& executor_;
  std::shared_ptr<Fetches> fetches_;
  std::unique_ptr<X11SelectionThread> thread_;
};

}  // namespace quillmere
