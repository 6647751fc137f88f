#pragma once
#include <QString>
#include <functional>
#include <memory>

#include "base/Subscription.h"

namespace quillmere {

// What the floating pill shows. Texts are ready to be drawn; the level and the running time come separately.
struct OverlayContent {
  enum class Kind {
    starting,     // the microphone is being opened
    recording,    // level and time
    live,         // level, dictated live
    working,      // text, and the key that cancels
    pasted,       // the text arrived
    ready,        // the text waits to be copied
    onClipboard,  // the text is on the clipboard and the user has to paste
    notice,       // why there is no text, for a moment
    question      // cancel? Enter or Escape
  };
  Kind kind = Kind::starting;
  QString text;
  bool canCancel = false;  // has a button for it
  // The keys that do the same as the buttons; empty where none does. Of a question: those of No and Yes.
  QString cancelKey = {};
  QString stopKey = {};
  bool canPasteHere = false;  // has a button that pastes the waiting text where the user is
  QString sendTo = {};        // has a button that sends it to this program, by its name; empty: none
  bool operator==(const OverlayContent&) const = default;
};

// The window of the recording dialog. Main thread. It never takes the keyboard from the window the user works in.
class RecordingPanel {
 public:
  // What the user does with the panel itself. Set before show().
  struct Handlers {
    std::function<void()> onConfirmCancel;
    std::function<void()> onDismissQuestion;
    std::function<void()> onFinish;  // stop and transcribe
    std::function<void()> onCancel;
    std::function<void()> onCopy;
    std::function<void()> onPasteHere;
    std::function<void()> onSendToTarget;
    std::function<void()> onGroundClicked;
  };

  virtual ~RecordingPanel() = default;
  virtual void setHandlers(Handlers handlers) = 0;
  virtual void show(const OverlayContent& content) = 0;
  virtual void update(const OverlayContent& content) = 0;
  virtual void setLevel(float verticalScale, double durationSeconds) = 0;
  virtual void hide() = 0;
  virtual void orderFront() = 0;
  // Whether Return and Escape that reach this program's own windows go to the question. For desktops where the keys of
  // other windows can't be had.
  virtual void setLocalKeysEnabled(bool isEnabled) = 0;
  // Told when the active desktop or the screens change.
  [[nodiscard]] virtual Subscription observeScreens(std::function<void()> observer) = 0;
};

using RecordingPanelFactory = std::function<std::unique_ptr<RecordingPanel>()>;

}  // namespace quillmere
