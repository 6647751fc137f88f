#pragma once
#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon.h>

#include "platform/x11/XcbConnection.h"
#include "support/WaitUntil.h"
#include "support/XtestKeys.h"
#include "support/XvfbServer.h"

namespace quillmere {

// Serves Qt's events for so long.
void pause(std::chrono::milliseconds duration);

// Another program of the desktop, with the keyboard's focus if it shows its window.
class OtherProgram {
 public:
  struct Press {
    int code = 0;
    unsigned modifiers = 0;  // without Num Lock
    bool operator==(const Press&) const = default;
  };

  explicit OtherProgram(const QString& displayName);

  void showFocusedWindow();
  // The keys that came since the last call.
  std::vector<int> takeKeys();
  std::vector<Press> takePresses();

  bool grabKey(uint16_t modifiers, uint8_t code);
  void ungrabKey(uint16_t modifiers, uint8_t code);
  // Whether somebody else has the key.
  bool isTaken(uint16_t modifiers, uint8_t code);
  bool grabKeyboard();
  void ungrabKeyboard();
  // Whether nobody else has the whole keyboard.
  bool isKeyboardFree();
  // As a user does who switches between the layouts of the list.
  void lockLayout(uint8_t number);
  // Gives a key another meaning.
  void mapKey(uint8_t code, uint32_t symbol);

 private:
  std::unique_ptr<XcbConnection> connection_;
  std::vector<Press> keys_;
  Subscription events_;
};

// A desktop of one's own: an X server, a keyboard to press, another program.
struct X11Desk {
  bool setLayout(const QStringList& arguments);

  XvfbServer server;
  XtestKeys keys{server.displayName()};
  OtherProgram other{server.displayName()};
};

class X11DeskTest : public testing::Test, protected X11Desk {};

}  // namespace quillmere
