#pragma once
#include <QObject>
#include <QSet>
#include <QString>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "base/Subscription.h"
#include "base/async/Executor.h"
#include "base/async/TaskScope.h"
#include "domain/Entities.h"

namespace quillmere {

class AppState;
class DefaultsStore;
class MicrophoneViewModel;
class PersistenceController;
class ShortcutsViewModel;
class SpeechSpeed;
class WhisperModelManager;

// What the first run asks the dictation to do. Empty functions are left out. Main thread.
struct FirstRunIntents {
  std::function<void()> tryDictation;  // starts or stops the recording of the last step
  std::function<void()> cancelDictation;
  std::function<void(ModePtr)> modelChosen;
};

// The four steps of the first run: microphone, where speech becomes text, shortcut, a try. It goes on at the step where
// it was left and is never shown again once it is through. Main thread; everything outlives it.
class FirstRunViewModel final : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool isShown READ isShown NOTIFY changed)
  Q_PROPERTY(int step READ step NOTIFY changed)
  Q_PROPERTY(int stepCount READ stepCount CONSTANT)
  Q_PROPERTY(bool isStepDone READ isStepDone NOTIFY changed)
  Q_PROPERTY(bool isActive READ isActive WRITE setActive NOTIFY changed)
  Q_PROPERTY(bool isLit READ isLit NOTIFY changed)
  Q_PROPERTY(bool hasLit READ hasLit NOTIFY changed)
  Q_PROPERTY(QString chosenModel READ chosenModel NOTIFY changed)
  Q_PROPERTY(QString modelProblem READ modelProblem NOTIFY changed)
  Q_PROPERTY(QString speedText READ speedText NOTIFY changed)
  Q_PROPERTY(QString heardText READ heardText NOTIFY changed)
  Q_PROPERTY(QString tryProblem READ tryProblem NOTIFY changed)
 public:
  enum Step { microphoneStep, modelStep, shortcutStep, tryStep };

  struct Services {
    AppState& appState;
    DefaultsStore& defaults;
    PersistenceController& persistence;
    WhisperModelManager& models;
    MicrophoneViewModel& microphone;
    ShortcutsViewModel& shortcuts;
    Executor& executor;
    SpeechSpeed* speed = nullptr;
  };
  FirstRunViewModel(Services services, FirstRunIntents intents);

  bool isShown() const;
  int step() const;
  int stepCount() const { return tryStep + 1; }
  bool isStepDone() const;
  // Whether the window with the steps has the keyboard: only then the microphone is listened to, and a dictation that
  // the shortcut starts is a trial of the shortcut.
  bool isActive() const { return isActive_; }
  void setActive(bool isActive);
  bool isLit() const;
  bool hasLit() const { return hasLit_; }
  // The model that the local mode has or gets when it is here.
  QString chosenModel() const;
  QString modelProblem() const { return modelProblem_; }
  // How fast this computer writes with the chosen model, once it is here. Measured while the step is looked at and
  // nothing is dictated.
  QString speedText() const;
  QString heardText() const { return heardText_; }
  // Why nothing can be tried now; empty otherwise.
  QString tryProblem() const;
  bool isTrying() const { return isShown() && step() == tryStep; }

  // The shortcut is being tried: what is said of so short a dictation is not worth reading.
  bool isTryingShortcut() const { return isShown() && isActive_ && step() == shortcutStep && hasLit_; }

  // Done or skipped: neither is asked again. The last one ends the first run.
  Q_INVOKABLE void next();
  Q_INVOKABLE void back();
  // Speech becomes text on this computer, with that model: downloads it where it isn't here yet.
  Q_INVOKABLE void chooseModel(const QString& name);
  Q_INVOKABLE void tryDictation();
  Q_INVOKABLE static bool isOffered(const QString& modelName);

 Q_SIGNALS:
  void changed();

 private:
  void setStep(int step);
  void stateChanged();
  void takeArrivedModel();
  void takeDownloads(const QSet<QString>& names);
  void useLocally(const QString& modelName);
  void updateProbe();
  void updateMeasurement();
  Task<void> measure(QString model, QString file);
  bool isLocalModeReady() const;

  Services services_;
  FirstRunIntents intents_;
  bool isActive_ = false;
  bool isRecording_ = false;
  bool hasLit_ = false;
  std::optional<QString> awaitedModel_;
  bool isDownloadSeen_ = false;  // of the awaited model
  QString modelProblem_;
  std::map<QString, std::optional<double>> secondsPerMinute_;  // of models that were measured
  QString measuredModel_;                                      // now; empty: none
  TaskHandle<void> measuring_;
  QString heardText_;
  std::vector<Subscription> subscriptions_;
  TaskScope scope_;  // last: its tasks use the fields above
};

}  // namespace quillmere
