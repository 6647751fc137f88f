#pragma once
#include <map>

#include "base/async/Completion.h"
#include "base/log/Logger.h"
#include "platform/x11/XcbConnection.h"
#include "platform/x11/XkbKeyboard.h"
#include "ports/GlobalShortcuts.h"

namespace quillmere {

// GlobalShortcuts by passive grabs: the focused program does not see the key. Num Lock and Caps Lock don't matter. A
// shortcut stays with its letter when the layout changes, on a layout without that letter with the key that had it.
// The key up comes also when the modifiers went first; a held key gives one key down. Handlers may call anything here.
// recordCombination() takes the whole keyboard while it waits, until the key that was pressed is up again; it gives
// none also when another program keeps the keyboard for longer than two seconds or the X server ends. A later recording
// ends an earlier one, which gives none. This object outlives the tasks.
class X11GlobalShortcuts final : public GlobalShortcuts {
 public:
  // An empty name means the variable DISPLAY.
  explicit X11GlobalShortcuts(const Logging& logging, const QString& displayName = {});
  ~X11GlobalShortcuts() override;

  bool isAvailable() const override;
  Result<void, PlatformError> setShortcut(const QString& name, std::optional<KeyCombination> keys) override;
  std::optional<KeyCombination> shortcut(const QString& name) const override;
  void setHandlers(const QString& name, Handlers handlers) override;
  void setEnabled(const QString& name, bool isEnabled) override;
  void yieldKeys(const QStringList& keys) override;
  Task<std::optional<KeyCombination>> recordCombination(EscapeKey escape) override;

 private:
  struct Grab {
    xcb_keycode_t code = 0;
    uint16_t modifiers = 0;
    auto operator<=>(const Grab&) const = default;
  };
  using Grabs = std::vector<Grab>;
  struct Entry {
    std::optional<KeyCombination> keys;
    Handlers handlers;
    bool isEnabled = true;
    Grabs grabs;                           // what the server has for it now
    std::optional<xcb_keycode_t> heldKey;  // pressed and not yet let go
  };
  struct Recording {
    Completion<std::optional<KeyCombination>> result;
    xcb_keycode_t keyDown = 0;  // the key that decided; 0 before
    EscapeKey escape = EscapeKey::endsRecording;
    std::optional<KeyCombination> keys;  // none where Escape ended it
  };

  bool connect(const QString& displayName);
  Grabs grabsOf(const KeyCombination& keys);
  bool isWanted(const Entry& entry) const;
  bool takeGrabs(const Grabs& grabs);
  void releaseGrabs(const Grabs& grabs);
  void setGrabs(const QString& name, Entry& entry);
  void onKeyboardChanged();
  void onEvent(const xcb_generic_event_t& event);
  void onKeyPress(const xcb_key_press_event_t& event);
  void onKeyRelease(const xcb_key_press_event_t& event);
  void recordKeyPress(const xcb_key_press_event_t& event);
  void endRecording();
  bool takeKeyboard();
  void releaseKeyboard();
  void onClosed();

  const Logger logger_;
  QString unavailability_;
  std::unique_ptr<XcbConnection> connection_;
  std::unique_ptr<XkbKeyboard> keyboard_;
  std::map<QString, Entry> entries_;
  QStringList yieldedKeys_;
  std::shared_ptr<Recording> recording_;
  Subscription events_;
};

}  // namespace quillmere
