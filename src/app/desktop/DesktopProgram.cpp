#include "app/desktop/DesktopProgram.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QUrl>
#include <cstdio>

#include "app/compose/ExitCode.h"
#include "app/desktop/AccessibilitySettings.h"
#include "app/desktop/ApplicationStatus.h"
#include "base/text/LocalizedText.h"
#include "core/RecordingTranscriptionFlow.h"
#include "core/ShortcutNames.h"
#include "delivery/AutoPasteHandler.h"
#include "delivery/FocusProbe.h"
#include "delivery/PasteTexts.h"
#include "platform/x11/X11FloatingWindows.h"
#include "recording/MicrophonePermissionManager.h"
#include "triggers/BareModifierKeyMonitor.h"

namespace quillmere {
namespace {

constexpr int storePaceMs = 2000;
constexpr Duration caretLimit = std::chrono::milliseconds(150);

}  // namespace

DesktopProgram::DesktopProgram(Options options) : options_(std::move(options)), waitingFiles_(options_.files) {}

DesktopProgram::~DesktopProgram() {
  scope_.reset();
  subscriptions_.clear();
  interface_.reset();
  launchAtLogin_.reset();
}

std::optional<int> DesktopProgram::start() {
  ControlService::Actions actions;
  actions.toggle = [this](const QString& mode) {
    if (!services_) return;
    DictationControl& dictation = *services_->session->dictation->flow;
    // A mode that isn't there begins nothing, but what runs can be stopped all the same.
    if (!mode.isEmpty() && !selectMode(mode) && !dictation.isRecordingNow()) return;
    dictation.toggleRecording(std::nullopt, false, RecordingTriggerSource::shortcut);
  };
  actions.cancel = [this] {
    if (services_) services_->session->dictation->flow->cancelFromShortcut();
  };
  actions.status = [this] { return status(); };
  actions.showWindow = [this] {
    if (interface_) interface_->showWindow();
  };
  actions.openFiles = [this](const QStringList& uris) { openFiles(uris); };
  actions.quit = [this] { quit(); };
  control_ = std::make_unique<ControlService>(std::move(actions));
  if (control_->registerOnBus() == ControlService::Registration::alreadyRunning) {
    if (ControlService::handOver(options_.files)) return 0;
    std::fprintf(stderr, "%s\n", qPrintable(localizedText("cli.control.noAnswer")));
    return exitFailure;
  }

  auto services = makeDesktopServices(*this, windowActions());
  if (!services) {
    std::fprintf(stderr, "%s\n", qPrintable(services.error().description));
    return exitStore;
  }
  services_ = std::move(*services);
  scope_ = std::make_unique<TaskScope>(*services_->base->executor);
  // A program of a build tree would be gone at the next login.
  if (const Paths& paths = services_->base->paths; paths.isInstalled)
    launchAtLogin_ = std::make_unique<LaunchAtLogin>(
        *services_->base->defaults, Autostart(paths.configHome, QCoreApplication::applicationFilePath()),
        services_->base->logging);
  buildInterface();
  followRecording();
  followWorkspace();
  signals_ = std::make_unique<SignalWatcher>([this] { quit(); });
  interface_->showTray();
  services_->launch->start();
  services_->base->historySweeper->start();
  if (!options_.isHidden && !services_->base->settings->general().launchMinimized())
    QTimer::singleShot(0, &storeTimer_, [this] { interface_->showWindow(); });
  storeTimer_.setInterval(storePaceMs);
  QObject::connect(&interface_->mainWindow(), &MainWindow::shown, &storeTimer_, [this] { storeTimer_.start(); });
  QObject::connect(&storeTimer_, &QTimer::timeout, &storeTimer_, [this] {
    if (interface_->isWindowVisible())
      services_->base->persistence->refreshIfChanged();
    else
      storeTimer_.stop();  // a hidden window needs no waking up
  });
  return std::nullopt;
}

DesktopWindows DesktopProgram::windowActions() {
  DesktopWindows windows;
  windows.hideAll = [this] {
    if (!interface_->isTryingDictation()) interface_->hideWindow();
  };
  windows.toggleMiniWindow = [this] {
    GeneralSettingsManager& general = services_->base->settings->general();
    general.setShowRecordingWindow(!general.showRecordingWindow());
  };
  windows.toggleMainWindow = [this] { return interface_->toggleWindow(); };
  windows.showModeChange = [this](const QString& name) { interface_->showModeToast(name); };
  windows.launch.onOrderOutWindow = [this] { interface_->hideWindow(); };
  windows.launch.onShowOnboarding = [this] { interface_->showWindow(); };
  windows.launch.onReady = [this](Duration sinceStart) {
    const double milliseconds = std::chrono::duration<double, std::milli>(sinceStart).count();
    services_->base->logging.logger("Desktop").info("Ready after %{public}f ms", milliseconds);
    interface_->warmUp();
    showSurroundings();
    showModelState();
    openFiles(std::exchange(waitingFiles_, {}));
  };
  windows.hooks.recoverRecordingsFolder = [this] { return recoverRecordingsFolder(); };
  windows.hooks.openAccessibilitySettings = [this] {
    if (!openAccessibilitySettings()) interface_->showWindow(QStringLiteral("settings"));
  };
  windows.hooks.showAccessibilityAlert = [this](const AccessibilityAlert& alert) {
    interface_->alerts().show({alert.title, alert.message, alert.openButton, alert.cancelButton, alert.open});
  };
  return windows;
}

DesktopIntents DesktopProgram::intents() {
  SessionServices& session = *services_->session;
  DictationParts& parts = *session.dictation;
  DictationControl& recording = *parts.flow;
  Services& base = *services_->base;
  DesktopIntents intents;
  intents.app.copyText = [&parts](const QString& text) { parts.autoPaste->copyForUser(text); };
  intents.app.toggleRecording = [&recording, &base] {
    recording.toggleRecording(base.appState->data().selectedModeName, false, RecordingTriggerSource::uiButton);
  };
  intents.app.cancelRecording = [&recording] { recording.cancelFromShortcut(); };
  intents.history.copyText = [&parts](const QString& text) { parts.autoPaste->copyForUser(text); };
  intents.history.pasteText = [this](const QString& text) { pasteFromHistory(text); };
  intents.history.playAudio = [](const QString& path) { QDesktopServices::openUrl(QUrl::fromLocalFile(path)); };
  intents.dialog.finishRecording = [&recording] {
    recording.toggleRecording(std::nullopt, false, RecordingTriggerSource::uiButton);
  };
  intents.dialog.cancel = [&recording] { recording.cancelFromShortcut(); };
  intents.dialog.stopRecording = [&recording] {
    recording.toggleRecording(std::nullopt, true, RecordingTriggerSource::uiButton);
  };
  intents.dialog.cancelTranscription = [&recording] { recording.cancelFromShortcut(); };
  intents.dialog.copyText = intents.history.copyText;
  WaitingText& waitingText = *parts.waitingText;
  intents.dialog.isTextOnClipboard = [&waitingText] { return waitingText.isOnClipboard(); };
  intents.dialog.pasteHere = [&waitingText] { waitingText.pasteHere(); };
  intents.dialog.sendToTarget = [&waitingText] { waitingText.sendToTarget(); };
  intents.dialog.targetName = [&waitingText] { return waitingText.targetName(); };
  intents.dialog.stopKey = [this] { return keysOf(shortcutNames::toggleRecordingWithTranscription); };
  intents.dialog.cancelKey = [this] { return keysOf(shortcutNames::cancelRecording); };
  intents.firstRun.tryDictation = [&recording] {
    recording.toggleRecording(std::nullopt, false, RecordingTriggerSource::onboarding);
  };
  intents.firstRun.cancelDictation = [&recording] { recording.cancelFromShortcut(); };
  intents.openFolder = [](const QString& path) { QDesktopServices::openUrl(QUrl::fromLocalFile(path)); };
  intents.modelChosen = [this, &base](ModePtr mode) {
    base.transcription->modelPreparation->prepare(std::move(mode));
    showModelState();
  };
  intents.firstRun.modelChosen = intents.modelChosen;
  intents.quit = [this] { quit(); };
  if (auto windows = X11FloatingWindows::open()) {
    const std::shared_ptr<X11FloatingWindows> screen = std::move(*windows);
    intents.screen.isComposited = [screen] { return screen->isComposited(); };
    intents.screen.findFocus = [this, screen](FloatingWindow::TellFocus tell) {
      findFocus(screen->activeWindow(), std::move(tell));
    };
    intents.screen.announce = [screen](WId window) {
      const auto* const toolkit = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
      screen->announce(xcb_window_t(window), toolkit ? toolkit->connection() : nullptr);
    };
  }
  return intents;
}

void DesktopProgram::findFocus(const QRect& window, FloatingWindow::TellFocus tell) {
  if (window.isEmpty()) return;
  tell({window, {}});
  if (scope_ && services_->session->display.accessibility->isTrusted())
    (void)scope_->spawn(findCaret(window, std::move(tell)));
}

Task<void> DesktopProgram::findCaret(QRect window, FloatingWindow::TellFocus tell) {
  const auto found = std::make_shared<std::optional<QRect>>();
  std::function<void(AccessibilityTree&)> look = [found](AccessibilityTree& tree) { *found = readCaret(tree); };
  const bool isRead = co_await services_->session->display.accessibility->visit(std::move(look), caretLimit);
  // Some toolkits tell a place inside their window instead.
  if (isRead && *found && window.contains((*found)->center())) tell({window, **found});
}

void DesktopProgram::buildInterface() {
  Services& base = *services_->base;
  DesktopInterfaceServices use{*base.appState,       *base.persistence, *base.settings, *base.defaults,
                               *base.models.manager, *base.executor,    *base.clock,    base.logging};
  use.notices = &notices_;
  use.retry = base.transcription->retry.get();
  use.interceptor = services_->session->display.keyInterceptor.get();
  DictationParts& parts = *services_->session->dictation;
  use.devices = parts.devices.get();
  use.recorders = services_->session->sound->recorders.get();
  use.mediaReaders = base.ports.mediaReaders.get();
  use.workers = base.fileWorkers.get();
  use.engine = base.ports.speechEngine.get();
  use.converter = base.audio.converter.get();
  for (const QString& folder : base.paths.bundledModelFolders)
    if (const QFileInfo sample(folder + QStringLiteral("/speech-sample.mp3"));
        use.speechSample.isEmpty() && sample.isFile())
      use.speechSample = sample.filePath();
  use.shortcuts = services_->session->display.shortcuts.get();
  use.shortcutStore = services_->shortcutStore.get();
  use.fileFlow = base.transcription->fileFlow.get();
  use.notifications = services_->session->sound->notifications.get();
  use.canLaunchAtLogin = launchAtLogin_ != nullptr;
  use.canSeeKey = [&parts](ModifierKey key) { return parts.modifierMonitor->canSee(key); };
  use.isTrustedForAccessibility = [this] { return services_->session->display.accessibility->isTrusted(); };
  interface_ = std::make_unique<DesktopInterface>(std::move(use), intents());
  ShortcutsViewModel* const shortcuts = interface_->shortcuts();
  QObject::connect(shortcuts, &ShortcutsViewModel::changed, shortcuts, [this] { showSurroundings(); });
}

void DesktopProgram::followRecording() {
  DictationParts& parts = *services_->session->dictation;
  RecordingLiveMetrics& metrics = parts.manager->liveMetrics();
  const auto tell = [this, &metrics] {
    interface_->setLiveMetrics(metrics.audioLevel.get(), metrics.recordingDuration.get());
  };
  subscriptions_.push_back(metrics.audioLevel.observe([tell](float) { tell(); }));
  subscriptions_.push_back(metrics.recordingDuration.observe([tell](double) { tell(); }));
  MicrophonePermissionManager& permission = *parts.permission;
  subscriptions_.push_back(permission.showPermissionDeniedAlert().observe([this, &permission](bool isShown) {
    if (!isShown) return;
    // In a later turn: whoever raised it may do so once more.
    QTimer::singleShot(0, &storeTimer_, [this, &permission] {
      permission.setShowPermissionDeniedAlert(false);
      interface_->alerts().show({localizedText("audio.alert.microphone.title"),
                                 localizedText("audio.error.permissionDenied"), localizedText("common.ok")});
    });
  }));
  subscriptions_.push_back(
      parts.devices->activeInputDeviceName().observe([this](const QString&) { showSurroundings(); }));
  subscriptions_.push_back(services_->base->settings->observeChanges([this](const QString&) { showSurroundings(); }));
  subscriptions_.push_back(
      services_->base->persistence->observeChanges([this](const StoreChange&) { showModelState(); }));
  subscriptions_.push_back(
      services_->base->appState->observe([this, mode = QString()](const AppStateData& data) mutable {
        if (mode == data.selectedModeId) return;
        mode = data.selectedModeId;
        showModelState();
      }));
}

void DesktopProgram::followWorkspace() {
  Workspace& workspace = *services_->session->display.workspace;
  subscriptions_.push_back(workspace.observeFrontmost([this, &workspace] {
    const auto application = workspace.frontmostApplication();
    if (application && !application->isThisApplication) lastOtherApplication_ = application;
  }));
}

QString DesktopProgram::keysOf(const char* shortcutName) const {
  const auto keys = services_->shortcutStore->keys(QString::fromLatin1(shortcutName));
  return keys && services_->session->display.shortcuts->isAvailable() ? keys->text() : QString();
}

void DesktopProgram::showSurroundings() {
  AudioDeviceManager& devices = *services_->session->dictation->devices;
  interface_->app().setMicrophone(devices.activeInputDeviceName().get(),
                                  devices.activeInputDeviceIdentifier().get().has_value());
  using Kind = AppStateViewModel::TriggerKind;
  const auto pushToTalk = services_->base->settings->pushToTalkMode();
  if (!services_->session->display.shortcuts->isAvailable())
    interface_->app().setShortcut(QStringLiteral("quillmere toggle"), Kind::command);
  else if (const QString toggle = keysOf(shortcutNames::toggleRecordingWithTranscription); !toggle.isEmpty())
    interface_->app().setShortcut(toggle, Kind::press);
  else if (pushToTalk == PushToTalkMode::custom)
    interface_->app().setShortcut(keysOf(shortcutNames::pushToTalk), Kind::hold);
  else if (pushToTalk != PushToTalkMode::disabled)
    interface_->app().setShortcut(localizedText(labelKey(pushToTalk)), Kind::hold);
  else
    interface_->app().setShortcut({}, Kind::none);
}

void DesktopProgram::showModelState() {
  Services& base = *services_->base;
  const ModePtr mode = base.persistence->fetchMode(base.appState->data().selectedModeId);
  const QString name = mode ? mode->model.value_or(QStringLiteral("base")) : QStringLiteral("base");
  const bool isCloud = name.compare(QStringLiteral("cloud"), Qt::CaseInsensitive) == 0;
  interface_->app().setModel(name, isCloud || base.models.manager->findDownloaded(name).has_value());
}

// Without storing the choice: it holds until another mode is chosen.
bool DesktopProgram::selectMode(const QString& name) {
  Services& base = *services_->base;
  const auto mode = base.persistence->fetchModeByName(name);
  if (!mode)
    showToast(mode.error().message, true);
  else if (base.appState->data().selectedModeId != (*mode)->id->toString(QUuid::WithoutBraces))
    base.appState->selectMode(**mode, false);
  return mode.hasValue();
}

// What comes before the start is over waits for it: the selected mode is known only then.
void DesktopProgram::openFiles(const QStringList& uris) {
  if (uris.isEmpty()) return;
  if (!services_ || !services_->launch->isReady().get()) {
    waitingFiles_ += uris;
    return;
  }
  interface_->openFiles(QUrl::fromStringList(uris));
}

Task<bool> DesktopProgram::recoverRecordingsFolder() {
  Alert alert;
  alert.title = localizedText("storage.recovery.title");
  alert.message = localizedText("storage.recovery.message");
  alert.acceptText = localizedText("storage.recovery.choose");
  alert.cancelText = localizedText("common.cancel");
  auto question = interface_->alerts().ask(std::move(alert));
  const bool wantsAnother = co_await std::move(question);
  if (!wantsAnother) co_return false;
  StorageSettingsManager& storage = services_->base->settings->storage();
  auto choice =
      interface_->filePicker().pickFolder(localizedText("storage.folder.choose.title"), storage.recordingsFolder());
  const std::optional<QString> folder = co_await std::move(choice);
  if (!folder) co_return false;
  storage.changeRecordingsFolder(*folder);
  co_return !storage.validationError().has_value();
}

void DesktopProgram::pasteFromHistory(const QString& text) {
  interface_->hideWindow();
  (void)scope_->spawn(pasteIntoLastApplication(text));
}

Task<void> DesktopProgram::pasteIntoLastApplication(QString text) {
  AutoPasteHandler& autoPaste = *services_->session->dictation->autoPaste;
  PasteRequest request;
  request.text = text;
  request.target = lastOtherApplication_;
  const auto keys = std::make_shared<PasteKeys>(PasteKeys::controlV);
  request.onLeft = [keys](PasteKeys told) { *keys = told; };
  const PasteOutcome outcome = co_await autoPaste.paste(std::move(request));
  if (outcome != PasteOutcome::pasted) showToast(pasteNotice(autoPaste.isOnClipboard(text), *keys), false);
}

void DesktopProgram::showToast(const QString& message, bool isCritical) {
  if (!isCritical && interface_ && interface_->isTryingShortcut()) return;
  lastNotice_ = message;
  notices_.showToast(message, isCritical);
}

QString DesktopProgram::status() {
  // Nothing is there before the start is over; an empty answer says that.
  if (!services_ || !services_->launch->isReady().get()) return {};
  return applicationStatus(*services_->base->appState, *services_->session->dictation, lastNotice_);
}

void DesktopProgram::quit() {
  if (isQuitting_) return;
  isQuitting_ = true;
  if (!scope_) {
    QCoreApplication::quit();
    return;
  }
  (void)scope_->spawn(shutDown());
}

Task<void> DesktopProgram::shutDown() {
  DictationParts& parts = *services_->session->dictation;
  if (interface_->files()) co_await interface_->files()->shutDown();
  co_await parts.flow->shutDown();
  parts.autoPaste->restoreNow();
  co_await services_->accessibilityConsent->end();
  co_await services_->base->persistence->waitUntilSaved();
  QCoreApplication::quit();
}

}  // namespace quillmere
