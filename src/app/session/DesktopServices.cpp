#include "app/session/DesktopServices.h"

namespace quillmere {

DesktopServices::~DesktopServices() {
  if (!base || !base->appState) return;
  // The state goes after those that it points to.
  base->appState->setModeChangeToast({});
}

Result<std::unique_ptr<DesktopServices>, PlatformError> makeDesktopServices(UserNotices& notices,
                                                                            const DesktopWindows& windows) {
  auto services = std::make_unique<DesktopServices>();
  DesktopServices& s = *services;
  ServiceOptions options;
  options.processName = QStringLiteral("quillmere-desktop");
  options.notices = &notices;
  auto base = makeServices(options);
  if (!base) return Failed{base.error()};
  s.base = std::move(*base);

  AppState& state = *s.base->appState;
  state.setPersistenceController(s.base->persistence.get());
  state.setNetworkStatus(s.base->network.get());
  state.setModeChangeToast(windows.showModeChange);

  prepareRecordingsFolder(s.base->settings->storage());
  s.folderQuestion =
      s.base->settings->storage().observeChanges([&storage = s.base->settings->storage()](const QString&) {
        if (storage.showDocumentsPermissionAlert()) storage.confirmDocumentsAccess();
      });

  SessionOptions session;
  session.hasTriggers = true;
  session.hideWindows = windows.hideAll;
  session.hooks = windows.hooks;
  s.session = makeSessionServices(*s.base, session);
  s.shortcutStore = std::make_unique<ShortcutStore>(*s.base->defaults, *s.session->shortcuts, &state, s.base->logging);
  GlobalHotkeys::Services hotkeys{*s.base->executor, *s.session->shortcuts};
  hotkeys.dictation = s.session->audioManager.get();
  hotkeys.appState = &state;
  hotkeys.settings = s.base->settings.get();
  hotkeys.toggleMiniWindow = windows.toggleMiniWindow;
  hotkeys.toggleMainWindow = windows.toggleMainWindow;
  s.hotkeys = std::make_unique<GlobalHotkeys>(std::move(hotkeys), s.base->logging);
  s.musicBlocker = std::make_unique<MusicBlocker>(*s.session->workspace, s.base->logging);
  ApplicationLaunch::Services launch{*s.base->executor,
                                     state,
                                     *s.session->audioManager,
                                     *s.base->modelPreparation,
                                     *s.base->settings,
                                     *s.base->persistence,
                                     *s.base->network,
                                     *s.hotkeys,
                                     s.shortcutStore.get(),
                                     s.musicBlocker.get(),
                                     windows.launch};
  s.launch = std::make_unique<ApplicationLaunch>(std::move(launch), s.base->logging);
  return services;
}

}  // namespace quillmere
