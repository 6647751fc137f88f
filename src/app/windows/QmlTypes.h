#pragma once
#include <QtQml>

#include "app/windows/MainWindow.h"
#include "app/windows/OverlayBridge.h"
#include "app/windows/Theme.h"
#include "interface/AlertsViewModel.h"
#include "interface/AppStateViewModel.h"
#include "interface/FileQueueViewModel.h"
#include "interface/FirstRunViewModel.h"
#include "interface/HistoryModel.h"
#include "interface/MicrophoneViewModel.h"
#include "interface/ModelsViewModel.h"
#include "interface/ModesViewModel.h"
#include "interface/SettingsViewModel.h"
#include "interface/ShortcutsViewModel.h"
#include "interface/VocabularyModel.h"
#include "interface/WaveformVisualizer.h"

// The objects that QML files of the module "Quillmere" know by name, and their classes, by which the files are checked
// and compiled. Which object stands behind a name is each engine's own: DesktopQml::provide().
namespace quillmere::qmlTypes {

template <typename T>
T* provided(QQmlEngine* engine, const char* name) {
  return qobject_cast<T*>(DesktopQml::provided(*engine, QLatin1String(name)));
}

struct AlertsType {
  Q_GADGET
  QML_FOREIGN(quillmere::AlertsViewModel)
  QML_NAMED_ELEMENT(Alerts)
  QML_SINGLETON
 public:
  static quillmere::AlertsViewModel* create(QQmlEngine* engine, QJSEngine*) {
    return provided<quillmere::AlertsViewModel>(engine, "Alerts");
  }
};

struct AppType {
  Q_GADGET
  QML_FOREIGN(quillmere::AppStateViewModel)
  QML_NAMED_ELEMENT(App)
  QML_SINGLETON
 public:
  static quillmere::AppStateViewModel* create(QQmlEngine* engine, QJSEngine*) {
    return provided<quillmere::AppStateViewModel>(engine, "App");
  }
};

struct FilesType {
  Q_GADGET
  QML_FOREIGN(quillmere::FileQueueViewModel)
  QML_NAMED_ELEMENT(Files)
  QML_SINGLETON
 public:
  static quillmere::FileQueueViewModel* create(QQmlEngine* engine, QJSEngine*) {
    return provided<quillmere::FileQueueViewModel>(engine, "Files");
  }
};

struct FirstRunType {
  Q_GADGET
  QML_FOREIGN(quillmere::FirstRunViewModel)
  QML_NAMED_ELEMENT(FirstRun)
  QML_SINGLETON
 public:
  static quillmere::FirstRunViewModel* create(QQmlEngine* engine, QJSEngine*) {
    return provided<quillmere::FirstRunViewModel>(engine, "FirstRun");
  }
};

struct HistoryType {
  Q_GADGET
  QML_FOREIGN(quillmere::HistoryModel)
  QML_NAMED_ELEMENT(History)
  QML_SINGLETON
 public:
  static quillmere::HistoryModel* create(QQmlEngine* engine, QJSEngine*) {
    return provided<quillmere::HistoryModel>(engine, "History");
  }
};

struct MicrophoneType {
  Q_GADGET
  QML_FOREIGN(quillmere::MicrophoneViewModel)
  QML_NAMED_ELEMENT(Microphone)
  QML_SINGLETON
 public:
  static quillmere::MicrophoneViewModel* create(QQmlEngine* engine, QJSEngine*) {
    return provided<quillmere::MicrophoneViewModel>(engine, "Microphone");
  }
};

struct ModelsType {
  Q_GADGET
  QML_FOREIGN(quillmere::ModelsViewModel)
  QML_NAMED_ELEMENT(Models)
  QML_SINGLETON
 public:
  static quillmere::ModelsViewModel* create(QQmlEngine* engine, QJSEngine*) {
    return provided<quillmere::ModelsViewModel>(engine, "Models");
  }
};

struct ModesType {
  Q_GADGET
  QML_FOREIGN(quillmere::ModesViewModel)
  QML_NAMED_ELEMENT(Modes)
  QML_SINGLETON
 public:
  static quillmere::ModesViewModel* create(QQmlEngine* engine, QJSEngine*) {
    return provided<quillmere::ModesViewModel>(engine, "Modes");
  }
};

struct NavigationType {
  Q_GADGET
  QML_FOREIGN(quillmere::MainWindow)
  QML_NAMED_ELEMENT(Navigation)
  QML_SINGLETON
 public:
  static quillmere::MainWindow* create(QQmlEngine* engine, QJSEngine*) {
    return provided<quillmere::MainWindow>(engine, "Navigation");
  }
};

struct OverlayType {
  Q_GADGET
  QML_FOREIGN(quillmere::OverlayBridge)
  QML_NAMED_ELEMENT(Overlay)
  QML_SINGLETON
 public:
  static quillmere::OverlayBridge* create(QQmlEngine* engine, QJSEngine*) {
    return provided<quillmere::OverlayBridge>(engine, "Overlay");
  }
};

struct PreferencesType {
  Q_GADGET
  QML_FOREIGN(quillmere::SettingsViewModel)
  QML_NAMED_ELEMENT(Preferences)
  QML_SINGLETON
 public:
  static quillmere::SettingsViewModel* create(QQmlEngine* engine, QJSEngine*) {
    return provided<quillmere::SettingsViewModel>(engine, "Preferences");
  }
};

struct ShortcutsType {
  Q_GADGET
  QML_FOREIGN(quillmere::ShortcutsViewModel)
  QML_NAMED_ELEMENT(Shortcuts)
  QML_SINGLETON
 public:
  static quillmere::ShortcutsViewModel* create(QQmlEngine* engine, QJSEngine*) {
    return provided<quillmere::ShortcutsViewModel>(engine, "Shortcuts");
  }
};

struct ThemeType {
  Q_GADGET
  QML_FOREIGN(quillmere::Theme)
  QML_NAMED_ELEMENT(Theme)
  QML_SINGLETON
 public:
  static quillmere::Theme* create(QQmlEngine* engine, QJSEngine*) {
    return provided<quillmere::Theme>(engine, "Theme");
  }
};

struct VocabularyType {
  Q_GADGET
  QML_FOREIGN(quillmere::VocabularyModel)
  QML_NAMED_ELEMENT(Vocabulary)
  QML_SINGLETON
 public:
  static quillmere::VocabularyModel* create(QQmlEngine* engine, QJSEngine*) {
    return provided<quillmere::VocabularyModel>(engine, "Vocabulary");
  }
};

struct WaveformType {
  Q_GADGET
  QML_FOREIGN(quillmere::WaveformVisualizer)
  QML_NAMED_ELEMENT(Waveform)
  QML_SINGLETON
 public:
  static quillmere::WaveformVisualizer* create(QQmlEngine* engine, QJSEngine*) {
    return provided<quillmere::WaveformVisualizer>(engine, "Waveform");
  }
};

}  // namespace quillmere::qmlTypes
