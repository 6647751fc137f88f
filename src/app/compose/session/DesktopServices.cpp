#include "app/compose/session/DesktopServices.h"

namespace quillmere {

Result<std::unique_ptr<DesktopServices>, PlatformError> makeDesktopServices(UserNotices& notices,
                                                                            const DesktopWindows& windows) {
  auto services = std::make_unique<DesktopServices>();
  DesktopServices& s = *services;
  ServiceOptions options;
  options.processName = QStringLiteral("quillmere-desktop");
  options.notices = &notices;
  options.showModeChange = windows.showModeChange;
  auto base = makeServices(options);
  if (!base) return Failed{base.error()};
  s.base = std::move(*base);
  AppState& state = *s.base->appState;
  const Logging& logging = s.base->logging;

  StorageSettingsManager& storage = s.base->settings->storage();
  prepareRecordingsFolder(storage);
  s.folderQuestion = storage.observeChanges([&storage](const QString&) {
    if (storage.showDocumentsPermissionAlert()) storage.confirmDocumentsAccess();
  });

  DisplayPorts::Options display;
  display.hasTriggers = true;
  display.hideWindows = windows.hideAll;
  s.session = makeSessionServices(*s.base, display, windows.hooks);
  s.accessibilityConsent = std::make_unique<AccessibilityConsent>(
      *s.session->sound->accessibilitySwitch, *s.base->settings, *s.base->defaults, *s.base->executor, logging);
  s.accessibilityConsent->start();
  DictationParts& parts = *s.session->dictation;
  GlobalShortcuts& shortcuts = *s.session->display.shortcuts;
  s.shortcutStore = std::make_unique<ShortcutStore>(*s.base->defaults, shortcuts, &state, logging);
  GlobalHotkeys::Services hotkeys{*s.base->executor, shortcuts};
  hotkeys.dictation = parts.flow.get();
  hotkeys.appState = &state;
  hotkeys.settings = s.base->settings.get();
  hotkeys.configurePushToTalk = [&parts] { parts.pushToTalk->configure(); };
  hotkeys.toggleMiniWindow = windows.toggleMiniWindow;
  hotkeys.toggleMainWindow = windows.toggleMainWindow;
  s.hotkeys = std::make_unique<GlobalHotkeys>(std::move(hotkeys), logging);
  ApplicationLaunch::Services launch{*s.base->executor,
                                     state,
                                     *parts.manager,
                                     *parts.recovery,
                                     *s.base->transcription->modelPreparation,
                                     *s.base->settings,
                                     *s.base->persistence,
                                     *s.hotkeys,
                                     s.shortcutStore.get(),
                                     windows.launch};
  s.launch = std::make_unique<ApplicationLaunch>(std::move(launch), logging);
  return services;
}

}  // namespace quillmere
