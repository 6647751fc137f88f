#include "app/windows/DesktopInterface.h"

#include "app/windows/OverlayPanel.h"
#include "app/windows/OverlayPlace.h"
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
  // Above an error that is still being read.
  const auto modeToastPlace = [this](const QRect& available, const QSize& size) {
    const QPoint place = toastPlace(available, size);
    if (!errorToastWindow_->isShown()) return place;
    return place - QPoint(0, errorToastWindow_->window()->height() + toastGap);
  };
  modeToastWindow_ =
      std::make_unique<FloatingWindow>(*qml_, QStringLiteral("ToastWindow"), modeToastPlace, intents_.screen);
  errorToast_ = std::make_unique<ToastWindow>(*errorToastWindow_);
  modeToast_ = std::make_unique<ToastWindow>(*modeToastWindow_);
  errorToasts_ = std::make_unique<InlineErrorToastManager>(*errorToast_, services_.executor);
  modeToasts_ = std::make_unique<ModeChangeToastManager>(*modeToast_, services_.executor);
  if (services_.notices) services_.notices->setTarget(errorToasts_.get());

  app_ = std::make_unique<AppStateViewModel>(services_.appState, &services_.persistence, intents_.app);
  history_ = std::make_unique<HistoryModel>(
      HistoryModel::Services{services_.persistence, services_.appState, services_.executor, services_.clock,
                             services_.retry, errorToasts_.get()},
      intents_.history, services_.locale, services_.timeZone, services_.logging);
  if (services_.mediaReaders && services_.workers)
    waveformCache_ = std::make_unique<WaveformCache>(*services_.mediaReaders, *services_.workers, services_.logging);
  waveform_ = std::make_unique<WaveformVisualizer>(waveformCache_.get(), services_.executor);
  models_ = std::make_unique<ModelsViewModel>(ModelsViewModel::Services{services_.models, services_.executor,
                                                                        &services_.appState, &services_.persistence,
                                                                        errorToasts_.get(), intents_.modelChosen});
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
  settings_ = std::make_unique<SettingsViewModel>(services_.settings, intents_.openFolder, errorToasts_.get());
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
      services_.interceptor, services_.executor, services_.logging);
  recordingWindows_->follow(services_.appState, &services_.settings, intents_.dialog);

  mainWindow_ = std::make_unique<MainWindow>(*qml_, services_.appState, services_.defaults);
  mainWindow_->addPage({QStringLiteral("history"), QStringLiteral("sidebar.history"), QStringLiteral("history"),
                        QStringLiteral("HistoryPage")});
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
  QObject::connect(mainWindow_.get(), &MainWindow::shown, history_.get(), [this] {
    services_.persistence.refreshIfChanged();
    services_.models.applicationDidBecomeActive();
    history_->refresh();  // headings of days move on
  });

  if (options.hasTray)
    tray_ = std::make_unique<TrayIcon>(*app_, qml_->theme(),
                                       TrayIcon::Intents{[this] { showWindow(); },
                                                         [this] {
                                                           if (intents_.quit) intents_.quit();
                                                         }});
}

DesktopInterface::~DesktopInterface() {
  if (services_.notices) services_.notices->setTarget(nullptr);
  // The windows go before what they show.
  tray_.reset();
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
