#pragma once
#include <functional>
#include <memory>

#include "app/compose/Services.h"
#include "app/compose/session/SessionServices.h"
#include "core/ApplicationLaunch.h"
#include "core/GlobalHotkeys.h"
#include "core/ShortcutStore.h"
#include "delivery/AccessibilityConsent.h"

namespace quillmere {

// What the desktop application's windows do when the services ask for it. Each may be empty.
struct DesktopWindows {
  std::function<void()> hideAll;  // before a paste
  std::function<void()> toggleMiniWindow;
  std::function<bool()> toggleMainWindow;  // whether it is shown now
  std::function<void(const QString& modeName)> showModeChange;
  LaunchWindows launch;
  DictationHooks hooks;
};

// The whole graph of the desktop application, without its windows; it goes in the reverse order. Main thread.
struct DesktopServices {
  std::unique_ptr<Services> base;
  Subscription folderQuestion;
  std::unique_ptr<SessionServices> session;
  std::unique_ptr<AccessibilityConsent> accessibilityConsent;
  std::unique_ptr<ShortcutStore> shortcutStore;
  std::unique_ptr<GlobalHotkeys> hotkeys;
  std::unique_ptr<ApplicationLaunch> launch;
};

// `notices` outlives the result. Fails only when the store can't be opened; the description is fit to be shown.
Result<std::unique_ptr<DesktopServices>, PlatformError> makeDesktopServices(UserNotices& notices,
                                                                            const DesktopWindows& windows);

}  // namespace quillmere
