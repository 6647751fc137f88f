#pragma once
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

#include "base/Result.h"
#include "base/Subscription.h"
#include "base/async/Task.h"
#include "domain/Errors.h"
#include "domain/KeyCombination.h"

namespace quillmere {

// System-wide shortcuts by name. A shortcut reacts while it has a key, a handler and is enabled; names start enabled.
// Main thread. The keys are kept by whoever owns this object's settings, not here.
class GlobalShortcuts {
 public:
  struct Handlers {
    std::function<void()> onKeyDown;
    std::function<void()> onKeyUp;
  };
  virtual ~GlobalShortcuts() = default;
  virtual bool isAvailable() const = 0;
  // None takes the key away. Fails, and keeps the former key, when another program (or another name) has the key; the
  // description says so to the user.
  virtual Result<void, PlatformError> setShortcut(const QString& name, std::optional<KeyCombination> keys) = 0;
  virtual std::optional<KeyCombination> shortcut(const QString& name) const = 0;
  // Replaces the handlers of the name.
  virtual void setHandlers(const QString& name, Handlers handlers) = 0;
  virtual void setEnabled(const QString& name, bool isEnabled) = 0;
  // Leaves these keys ("Escape"), pressed without modifiers, to whoever takes them next: a shortcut that has one does
  // not react and does not hold it. Until the next call; an empty list takes all back.
  virtual void yieldKeys(const QStringList& keys) = 0;
  // What Escape alone means while a combination is recorded.
  enum class EscapeKey { endsRecording, isRecorded };
  // The next key that the user presses, with its modifiers; while it waits no shortcut reacts. None where Escape ended
  // it. A cancel ends the wait.
  virtual Task<std::optional<KeyCombination>> recordCombination(EscapeKey escape) = 0;
};

}  // namespace quillmere
