#pragma once
#include <QLocale>
#include <QTimeZone>
#include <functional>
#include <memory>

#include "app/windows/AlertWindow.h"
#include "app/windows/DesktopNotices.h"
#include "app/windows/DesktopQml.h"
#include "app/windows/FileDialogs.h"
#include "app/windows/FloatingWindow.h"
#include "app/windows/MainWindow.h"
#include "app/windows/OverlayBridge.h"
#include "app/windows/ToastWindow.h"
#include "app/windows/TrayIcon.h"
#include "base/Clock.h"
#include "interface/AlertsViewModel.h"
#include "interface/AppStateViewModel.h"
#include "interface/FileQueueViewModel.h"
#include "interface/FirstRunViewModel.h"
#include "interface/HistoryModel.h"
#include "interface/InlineErrorToastManager.h"
#include "interface/MicrophoneViewModel.h"
#include "interface/ModeChangeToastManager.h"
#include "interface/ModelsViewModel.h"
#include "interface/ModesViewModel.h"
#include "interface/NoticeRouter.h"
#include "interface/RecordingWindowManager.h"
#include "interface/SettingsViewModel.h"
#include "interface/ShortcutsViewModel.h"
#include "interface/SpeechSpeed.h"
#include "interface/VocabularyModel.h"
#include "interface/WaveformCache.h"
#include "interface/WaveformVisualizer.h"

namespace quillmere {

class AudioDeviceManager;
class AudioRecorderFactory;
class GlobalShortcuts;
class AudioConverter;
class DesktopNotifications;
class KeyInterceptor;
class MediaReaderFactory;
class ShortcutStore;
class SpeechEngine;

// What the windows work with. Everything outlives the interface; the pointers may be null.
struct DesktopInterfaceServices {
  AppState& appState;
  PersistenceController& persistence;
  SettingsManager& settings;
  DefaultsStore& defaults;
  WhisperModelManager& models;
  Executor& executor;
  const Clock& clock;
  Logging logging;
  DesktopNotices* notices = nullptr;  // gets its target here
  TranscriptionRetryController* retry = nullptr;
  KeyInterceptor* interceptor = nullptr;
  QLocale locale = {};
  QTimeZone timeZone = QTimeZone::systemTimeZone();
  AudioDeviceManager* devices = nullptr;
  AudioRecorderFactory* recorders = nullptr;  // for the level that the settings show
  GlobalShortcuts* shortcuts = nullptr;       // without these two there is no page of shortcuts
  ShortcutStore* shortcutStore = nullptr;
  MediaReaderFactory* mediaReaders = nullptr;  // without these two no recording is drawn
  WorkerPool* workers = nullptr;
  SpeechEngine* engine = nullptr;  // with the next two, the first run tells how fast it is
  AudioConverter* converter = nullptr;
  QString speechSample = {};
  FileTranscriptionFlow* fileFlow = nullptr;  // without it no files are taken
  DesktopNotifications* notifications = nullptr;
  bool canLaunchAtLogin = false;  // the setting has an effect
  std::function<bool(ModifierKey)> canSeeKey = {};
  std::function<bool()> isTrustedForAccessibility = {};
};

struct DesktopIntents {
  AppIntents app;
  HistoryIntents history;
  RecordingDialogIntents dialog;
  FirstRunIntents firstRun;
  std::function<void(const QString& path)> openFolder;
  std::function<void(ModePtr)> modelChosen;
  std::function<void()> quit;
  FloatingWindow::Screen screen;
};

struct DesktopInterfaceOptions {
  bool hasTray = true;     // needs a QApplication
  bool usesPortal = true;  // asks the settings portal for the desktop's appearance
};

// Everything that the user sees: tray icon, recording pill, toasts and, made when it is asked for, the main window.
// Call DesktopQml::prepareGraphics() before the application object is made, and setQuitOnLastWindowClosed(false) on it.
// Main thread.
class DesktopInterface {
 public:
  DesktopInterface(DesktopInterfaceServices services, DesktopIntents intents, DesktopInterfaceOptions options = {});
  ~DesktopInterface();
  DesktopInterface(const DesktopInterface&) = delete;
  DesktopInterface& operator=(const DesktopInterface&) = delete;

  void showTray();
  // Makes the pill's window, so that it appears at once when it is needed. For a moment when nobody waits.
  void warmUp();

  void showWindow(const QString& page = {}) { mainWindow_->show(page); }
  void hideWindow() { mainWindow_->hide(); }
  bool isWindowVisible() const { return mainWindow_->isVisible(); }
  bool toggleWindow() { return mainWindow_->toggle(); }
  // The window itself is what the text goes to.
  bool isTryingDictation() const { return firstRun_ && firstRun_->isTrying() && mainWindow_->isActive(); }

  bool isTryingShortcut() const { return firstRun_ && firstRun_->isTryingShortcut(); }

  // Transcribes files, and shows the page that tells how it goes.
  void openFiles(const QList<QUrl>& files);

  void showModeToast(const QString& modeName) { notices_->showMode(modeName); }
  void setLiveMetrics(float level, double durationSeconds);

  UserNotices& notices() { return *notices_; }
  AlertsViewModel& alerts() { return *alerts_; }
  AlertWindow& alertWindow() { return *alertWindow_; }
  FilePicker& filePicker() { return *filePicker_; }
  FileQueueViewModel* files() { return files_.get(); }
  AppStateViewModel& app() { return *app_; }
  HistoryModel& history() { return *history_; }
  WaveformVisualizer& waveform() { return *waveform_; }
  ModelsViewModel& models() { return *models_; }
  ModesViewModel& modes() { return *modes_; }
  VocabularyModel& vocabulary() { return *vocabulary_; }
  MicrophoneViewModel& microphone() { return *microphone_; }
  SettingsViewModel& settings() { return *settings_; }
  ShortcutsViewModel* shortcuts() { return shortcuts_.get(); }
  FirstRunViewModel* firstRun() { return firstRun_.get(); }
  MainWindow& mainWindow() { return *mainWindow_; }
  RecordingWindowManager& recordingWindows() { return *recordingWindows_; }
  TrayIcon* tray() { return tray_.get(); }
  DesktopQml& qml() { return *qml_; }
  FloatingWindow& overlayWindow() { return *overlayWindow_; }
  FloatingWindow& errorToastWindow() { return *errorToastWindow_; }

 private:
  void buildFiles();
  void followMissingKeys();
  // The main window while it has the keyboard.
  QWindow* activeWindow() const;

  DesktopInterfaceServices services_;
  DesktopIntents intents_;
  std::unique_ptr<AppStateViewModel> app_;
  std::unique_ptr<HistoryModel> history_;
  std::unique_ptr<WaveformCache> waveformCache_;
  std::unique_ptr<WaveformVisualizer> waveform_;
  std::unique_ptr<ModelsViewModel> models_;
  std::unique_ptr<ModesViewModel> modes_;
  std::unique_ptr<VocabularyModel> vocabulary_;
  std::unique_ptr<MicrophoneViewModel> microphone_;
  std::unique_ptr<SettingsViewModel> settings_;
  std::unique_ptr<ShortcutsViewModel> shortcuts_;
  std::unique_ptr<SpeechSpeed> speechSpeed_;
  std::unique_ptr<FirstRunViewModel> firstRun_;
  std::unique_ptr<AlertsViewModel> alerts_;
  Subscription missingKeys_;
  std::unique_ptr<FileDialogs> filePicker_;
  std::unique_ptr<FileQueueViewModel> files_;
  std::unique_ptr<OverlayBridge> overlayBridge_;
  std::unique_ptr<DesktopQml> qml_;
  std::unique_ptr<FloatingWindow> overlayWindow_;
  std::unique_ptr<FloatingWindow> errorToastWindow_;
  std::unique_ptr<FloatingWindow> modeToastWindow_;
  std::unique_ptr<ToastWindow> errorToast_;
  std::unique_ptr<ToastWindow> modeToast_;
  std::unique_ptr<InlineErrorToastManager> errorToasts_;
  std::unique_ptr<ModeChangeToastManager> modeToasts_;
  std::unique_ptr<NoticeRouter> notices_;
  std::unique_ptr<RecordingWindowManager> recordingWindows_;
  std::unique_ptr<MainWindow> mainWindow_;
  std::unique_ptr<AlertWindow> alertWindow_;
  std::unique_ptr<TrayIcon> tray_;
};

}  // namespace quillmere
