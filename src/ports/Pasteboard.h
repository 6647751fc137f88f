#pragma once
#include <QString>
#include <optional>

#include "base/async/Executor.h"
#include "base/async/Task.h"
#include "domain/ClipboardItemData.h"

namespace quillmere {

// The general pasteboard (the desktop's clipboard). Main thread.
class Pasteboard {
 public:
  virtual ~Pasteboard() = default;
  // Every item with the bytes of every type, pseudo types of the transfer protocol left out. Ends within 2 s: an owner
  // that doesn't answer gives what arrived. An empty clipboard gives an empty list.
  virtual Task<ClipboardItems> items() = 0;
  virtual Task<std::optional<QString>> string() = 0;
  // Grows with every change of the contents, whoever makes it.
  virtual quint64 changeCount() const = 0;

  // Replaces the contents by a text, offered under every usual text type. `isConcealed` marks it so that clipboard
  // managers don't keep it. False when the clipboard can't be had.
  virtual bool writeText(const QString& text, bool isConcealed) = 0;
  // Replaces the contents by these items; an empty list clears.
  virtual bool write(const ClipboardItems& items) = 0;

  // Whether what this process wrote last is still on the clipboard.
  virtual bool ownsContents() const = 0;

  // Called right before the keystroke that makes a program fetch the text: what was fetched before doesn't count, and
  // whoever fetched it is taken for a clipboard manager from then on.
  virtual void expectFetch() = 0;
  // Whether another program than a clipboard manager has fetched what was written last, from here or from the
  // selection.
  virtual bool wasFetched() const = 0;
  // Waits until that is so, and 60 ms more for the second type that some fetch; false when nobody did within the time,
  // or as soon as neither clipboard nor selection is this process's any more. Who fetches and then takes the clipboard
  // over has fetched.
  virtual Task<bool> waitForFetch(Duration timeout) = 0;

  // The marked text, the second clipboard of X11 (PRIMARY) that Shift+Insert pastes from. None where there is no such
  // thing or nothing is marked.
  virtual Task<std::optional<QString>> selectionString() = 0;
  // Without a text the selection is emptied.
  virtual bool writeSelection(const std::optional<QString>& text) = 0;
  // Whether what this process wrote last is still the selection.
  virtual bool ownsSelection() const = 0;
};

}  // namespace quillmere
