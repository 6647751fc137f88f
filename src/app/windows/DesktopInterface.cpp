#include "app/windows/DesktopInterface.h"

#include "app/windows/OverlayPanel.h"
#include "app/windows/OverlayPlace.h"
#include "base/text/LocalizedText.h"
#include "models/WhisperModelManager.h"
#include "storage/PersistenceController.h"

namespace quillmere {

DesktopInterface::DesktopInterface(DesktopInterfaceServices services, DesktopIntents intents,
                                   DesktopInterfaceOptions options)
    : services_(std::move(services)), intents_(std::move(intents)) {
  overlayBridge_ = std::make_unique<OverlayBridge>();
  qml_ = std::make_unique<DesktopQml>(options.usesPortal, services_.logging);
  overlayWindow_ =
      std::make_unique<FloatingWindow>(*qml_, QStringLiteral("OverlayWindow"), overlayPlace, intents_.screen);
  errorToastWindow_ =
      std::make_unique<FloatingWindow>(*qml_, QStringLiteral("ToastWindow"), toastPlace, intents_.screen);
  // Beyond an error that is still being read.
  const auto modeToastPlace = [this](const QRect& available, const QSize& size, const FocusPlace& focus) {
    const QPoint place = toastPlace(available, size, focus);
    if (!errorToastWindow_->isShown()) return place;
    const QPoint further(0, errorToastWindow_->window()->height() + toastGap);
    return place.y() < available.center().y() ? place + further : place - further;
  };
  modeToastWindow_ =
      std::make_unique<FloatingWindow>(*qml_, QStringLiteral("ToastWindow"), modeToastPlace, intents_.screen);
  errorToast_ = std::make_unique<ToastWindow>(*errorToastWindow_);
  modeToast_ = std::make_unique<ToastWindow>(*modeToastWindow_);
  errorToasts_ = std::make_unique<InlineErrorToastManager>(*errorToast_, services_.executor);
  modeToasts_ = std::make_unique<ModeChangeToastManager>(*modeToast_, services_.executor);
  notices_ = std::make_unique<NoticeRouter>(*errorToasts_, *modeToasts_, services_.settings, services_.notifications,
                                            services_.executor);
  if (services_.notices) services_.notices->setTarget(notices_.get());

  alerts_ = std::make_unique<AlertsViewModel>();
  qml_->provide(QStringLiteral("Alerts"), alerts_.get());
  followMissingKeys();
  buildFiles();
  intents_.app.retryTranscript = [this](const QString& id) {
    showWindow(QStringLiteral("history"));
    history_->retry(id);
  };
  app_ = std::make_unique<AppStateViewModel>(services_.appState, &services_.persistence, intents_.app);
  history_ = std::make_unique<HistoryModel>(
      HistoryModel::Services{services_.persistence, services_.appState, services_.executor, services_.clock,
                             services_.retry, notices_.get()},
      intents_.history, services_.locale, services_.timeZone, services_.logging);
  if (services_.mediaReaders && services_.workers)
    waveformCache_ = std::make_unique<WaveformCache>(*services_.mediaReaders, *services_.workers, services_.logging);
  waveform_ = std::make_unique<WaveformVisualizer>(waveformCache_.get(), services_.executor);
  models_ = std::make_unique<ModelsViewModel>(ModelsViewModel::Services{services_.models, services_.executor,
                                                                        &services_.appState, &services_.persistence,
                                                                        notices_.get(), intents_.modelChosen});
  qml_->provide(QStringLiteral("App"), app_.get());
  qml_->provide(QStringLiteral("History"), history_.get());
  qml_->provide(QStringLiteral("Waveform"), waveform_.get());
  qml_->provide(QStringLiteral("Models"), models_.get());
  qml_->provide(QStringLiteral("Overlay"), overlayBridge_.get());
  modes_ = std::make_unique<ModesViewModel>(
      ModesViewModel::Services{services_.persistence, services_.settings, services_.appState, services_.models},
      services_.logging);
  vocabulary_ = std::make_unique<VocabularyModel>(services_.persistence);
  microphone_ = std::make_unique<MicrophoneViewModel>(
      MicrophoneViewModel::Services{services_.settings, services_.devices, services_.recorders, &services_.executor},
      services_.logging);
  settings_ = std::make_unique<SettingsViewModel>(services_.settings, intents_.openFolder, notices_.get());
  settings_->setCanLaunchAtLogin(services_.canLaunchAtLogin);
  if (services_.workers)
    settings_->enableFolderChange(
        {services_.executor, *filePicker_, services_.persistence, *services_.workers, services_.logging});
  if (services_.shortcuts && services_.shortcutStore) {
    shortcuts_ = std::make_unique<ShortcutsViewModel>(ShortcutsViewModel::Services{
        services_.settings, *services_.shortcutStore, *services_.shortcuts, services_.executor, services_.defaults,
        services_.canSeeKey, services_.isTrustedForAccessibility});
    if (services_.engine && services_.converter && services_.workers && !services_.speechSample.isEmpty())
      speechSpeed_ = std::make_unique<SpeechSpeed>(SpeechSpeed::Services{
          *services_.engine, *services_.converter, *services_.workers, services_.executor, services_.speechSample});
    firstRun_ = std::make_unique<FirstRunViewModel>(
        FirstRunViewModel::Services{services_.appState, services_.defaults, services_.persistence, services_.models,
                                    *microphone_, *shortcuts_, services_.executor, speechSpeed_.get()},
        intents_.firstRun);
  }
  qml_->provide(QStringLiteral("Modes"), modes_.get());
  qml_->provide(QStringLiteral("Vocabulary"), vocabulary_.get());
  qml_->provide(QStringLiteral("Microphone"), microphone_.get());
  qml_->provide(QStringLiteral("Preferences"), settings_.get());
  qml_->provide(QStringLiteral("Shortcuts"), shortcuts_.get());
  qml_->provide(QStringLiteral("FirstRun"), firstRun_.get());

  recordingWindows_ = std::make_unique<RecordingWindowManager>(
      [this]() -> std::unique_ptr<RecordingPanel> {
        return std::make_unique<OverlayPanel>(*overlayWindow_, *overlayBridge_);
      },
      services_.interceptor, services_.shortcuts, services_.executor, services_.logging);
  recordingWindows_->follow(services_.appState, &services_.settings, intents_.dialog);

  mainWindow_ = std::make_unique<MainWindow>(*qml_, services_.appState, services_.defaults);
  mainWindow_->addPage({QStringLiteral("history"), QStringLiteral("sidebar.history"), QStringLiteral("history"),
                        QStringLiteral("HistoryPage")});
  if (files_)
    mainWindow_->addPage({QStringLiteral("files"), QStringLiteral("sidebar.files"), QStringLiteral("file"),
                          QStringLiteral("FilesPage")});
  mainWindow_->addPage(
      {QStringLiteral("modes"), QStringLiteral("sidebar.modes"), QStringLiteral("modes"), QStringLiteral("ModesPage")});
  mainWindow_->addPage({QStringLiteral("vocabulary"), QStringLiteral("sidebar.vocabulary"),
                        QStringLiteral("vocabulary"), QStringLiteral("VocabularyPage")});
  mainWindow_->addPage({QStringLiteral("models"), QStringLiteral("sidebar.models"), QStringLiteral("models"),
                        QStringLiteral("ModelsPage")});
  if (shortcuts_)
    mainWindow_->addPage({QStringLiteral("shortcuts"), QStringLiteral("sidebar.shortcuts"), QStringLiteral("shortcuts"),
                          QStringLiteral("ShortcutsPage")});
  mainWindow_->addPage({QStringLiteral("settings"), QStringLiteral("sidebar.settings"), QStringLiteral("settings"),
                        QStringLiteral("SettingsPage"), true});
  mainWindow_->addPage({QStringLiteral("about"), QStringLiteral("sidebar.about"), QStringLiteral("quill"),
                        QStringLiteral("AboutPage"), true});
  QObject::connect(mainWindow_.get(), &MainWindow::shown, history_.get(), [this] {
    services_.persistence.refreshIfChanged();
    services_.models.applicationDidBecomeActive();
    history_->refresh();  // headings of days move on
  });

  alertWindow_ = std::make_unique<AlertWindow>(*qml_, *alerts_, [this] { return activeWindow(); });
  if (!options.hasTray) return;
  TrayIcon::Intents tray;
  tray.openWindow = [this] { showWindow(); };
  if (files_) tray.transcribeFiles = [this] { files_->choose(); };
  tray.quit = [this] {
    if (intents_.quit) intents_.quit();
  };
  tray_ = std::make_unique<TrayIcon>(*app_, qml_->theme(), std::move(tray));
}

void DesktopInterface::buildFiles() {
  filePicker_ = std::make_unique<FileDialogs>(
      [this]() -> QWindow* { return mainWindow_ && mainWindow_->isVisible() ? mainWindow_->window() : nullptr; });
  if (!services_.fileFlow) return;
  FileQueueViewModel::Services use{services_.executor, services_.appState, services_.persistence, *services_.fileFlow};
  use.picker = filePicker_.get();
  use.alerts = alerts_.get();
  use.notices = notices_.get();
  files_ = std::make_unique<FileQueueViewModel>(use);
  qml_->provide(QStringLiteral("Files"), files_.get());
  const QString page = QStringLiteral("files");
  QObject::connect(files_.get(), &FileQueueViewModel::added, files_.get(), [this, page] { showWindow(page); });
  // Who watches goes on to the texts; everybody else is told, wherever he is.
  QObject::connect(files_.get(), &FileQueueViewModel::allDone, files_.get(), [this, page](const QString& sentence) {
    if (mainWindow_->isActive() && mainWindow_->page() == page)
      mainWindow_->setPage(QStringLiteral("history"));
    else
      notices_->showToast(sentence, false);
  });
}

void DesktopInterface::followMissingKeys() {
  const auto answered = [this] { services_.appState.update([](AppStateData& data) { data.showAPIKeyAlert = false; }); };
  const auto openModes = [this, answered] {
    answered();
    showWindow(QStringLiteral("modes"));
  };
  missingKeys_ =
      services_.appState.observe([this, answered, openModes, wasShown = false](const AppStateData& data) mutable {
        if (std::exchange(wasShown, data.showAPIKeyAlert) || !data.showAPIKeyAlert) return;
        const AppState& state = services_.appState;
        alerts_->show({state.apiKeyAlertTitle(), state.apiKeyAlertMessage(), localizedText("alerts.api.openModes"),
                       localizedText("common.cancel"), openModes, answered});
      });
}

QWindow* DesktopInterface::activeWindow() const {
  return mainWindow_ && mainWindow_->isActive() ? mainWindow_->window() : nullptr;
}

void DesktopInterface::openFiles(const QList<QUrl>& files) {
  if (files_) files_->addUrls(files);
}

DesktopInterface::~DesktopInterface() {
  if (services_.notices) services_.notices->setTarget(nullptr);
  // The windows go before what they show.
  tray_.reset();
  alertWindow_.reset();
  mainWindow_.reset();
  recordingWindows_.reset();
}

void DesktopInterface::showTray() {
  if (tray_) tray_->show();
}

void DesktopInterface::warmUp() {
  overlayWindow_->prepare();
}

void DesktopInterface::setLiveMetrics(float level, double durationSeconds) {
  app_->setLevel(level);
  recordingWindows_->setLiveMetrics(level, durationSeconds);
}

}  // namespace quillmere
