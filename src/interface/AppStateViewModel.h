#pragma once
#include <QObject>
#include <QString>
#include <QVariantList>
#include <functional>

#include "base/Subscription.h"
#include "core/AppState.h"

namespace quillmere {

class PersistenceController;

// What the interface asks the dictation to do. Empty functions are left out. Main thread.
struct AppIntents {
  std::function<void()> toggleRecording;
  std::function<void()> cancelRecording;
  std::function<void(const QString& text)> copyText;
  std::function<void(const QString& id)> retryTranscript;  // a row of the history
};

// The application state as pages, tray and overlay show it. Follows AppState; the rest is told by the setters. Main
// thread; everything outlives it.
class AppStateViewModel final : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool isRecording READ isRecording NOTIFY stateChanged)
  Q_PROPERTY(bool isWorking READ isWorking NOTIFY stateChanged)
  Q_PROPERTY(QString statusText READ statusText NOTIFY stateChanged)
  Q_PROPERTY(QString trayState READ trayStateName NOTIFY stateChanged)
  Q_PROPERTY(QString modeName READ modeName NOTIFY stateChanged)
  Q_PROPERTY(QVariantList modes READ modes NOTIFY modesChanged)
  Q_PROPERTY(QString modelText READ modelText NOTIFY stateChanged)
  Q_PROPERTY(qreal level READ level NOTIFY levelChanged)
  Q_PROPERTY(QString microphoneName READ microphoneName NOTIFY surroundingsChanged)
  Q_PROPERTY(QString shortcutText READ shortcutText NOTIFY surroundingsChanged)
  Q_PROPERTY(QString shortcutSentenceStart READ shortcutSentenceStart NOTIFY surroundingsChanged)
  Q_PROPERTY(QString version READ version CONSTANT)
  Q_PROPERTY(QString qtVersion READ qtVersion CONSTANT)
  Q_PROPERTY(QString shortcutSentenceEnd READ shortcutSentenceEnd NOTIFY surroundingsChanged)
 public:
  enum class TrayState { ready, recording, working, unable };
  // How the dictation is started, as the user set it up.
  enum class TriggerKind { none, press, hold, doublePress, command };

  AppStateViewModel(AppState& appState, PersistenceController* persistence, AppIntents intents);

  bool isRecording() const { return is<RecordingState::Recording>(); }
  bool isWorking() const;
  // One sentence on what the program does now.
  QString statusText() const;
  TrayState trayState() const;
  QString trayStateName() const;
  QString modeName() const { return appState_.data().selectedModeName; }
  QVariantList modes() const { return modes_; }  // {id, name, isSelected}
  QString modelText() const { return modelText_; }
  qreal level() const { return level_; }
  QString microphoneName() const;
  QString shortcutText() const { return shortcutText_; }
  // "Hold <key> to dictate" around the key.
  QString shortcutSentenceStart() const;
  QString shortcutSentenceEnd() const;
  QString version() const;  // of this program
  QString qtVersion() const;
  // The newest text of the history is there.
  bool hasLastText() const { return hasLastText_; }
  // The last dictation that failed can be transcribed once more.
  bool canRetryLast() const { return !lastFailed_.isEmpty(); }

  // --- what AppState doesn't know
  void setLevel(float level);
  // No name: none is there.
  void setMicrophone(const QString& name, bool isAvailable);
  void setModel(const QString& text, bool isAvailable);
  void setShortcut(const QString& keys, TriggerKind kind);

  Q_INVOKABLE void toggleRecording();
  Q_INVOKABLE void cancelRecording();
  void copyLastText();
  void retryLast();
  Q_INVOKABLE void selectMode(const QString& id);

 Q_SIGNALS:
  void stateChanged();
  void modesChanged();
  void lastChanged();
  void levelChanged();
  void surroundingsChanged();

 private:
  template <typename S>
  bool is() const {
    return appState_.data().recordingState.is<S>();
  }
  void readModes();
  QString lastText() const;
  QString lastFailed() const;
  void readLast();

  AppState& appState_;
  PersistenceController* persistence_;
  AppIntents intents_;
  QVariantList modes_;
  QString selectedModeId_;
  bool hasLastText_ = false;
  QString lastFailed_;  // its row
  float level_ = 0;
  QString microphoneName_;
  bool isMicrophoneAvailable_ = true;
  QString modelText_;
  bool isModelAvailable_ = true;
  QString shortcutText_;
  TriggerKind triggerKind_ = TriggerKind::none;
  Subscription observation_;
  Subscription storeObservation_;
};

}  // namespace quillmere
