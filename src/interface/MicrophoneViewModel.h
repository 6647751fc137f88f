#pragma once
#include <QObject>
#include <QString>
#include <QVariantList>
#include <memory>
#include <vector>

#include "base/Subscription.h"
#include "recording/MicrophoneProbe.h"

namespace quillmere {

class AudioDeviceManager;
class SettingsManager;

// The choice of the microphone, and a look at what it hears. The choice is a setting, which the recording side follows.
// Main thread; everything outlives it, the pointers may be null.
class MicrophoneViewModel final : public QObject {
  Q_OBJECT
  Q_PROPERTY(QVariantList choices READ choices NOTIFY choicesChanged)
  Q_PROPERTY(QString selectedId READ selectedId WRITE select NOTIFY choicesChanged)
  Q_PROPERTY(QString activeName READ activeName NOTIFY choicesChanged)
  Q_PROPERTY(bool hasMicrophone READ hasMicrophone NOTIFY choicesChanged)
  Q_PROPERTY(qreal level READ level NOTIFY levelChanged)
  Q_PROPERTY(bool isProbing READ isProbing WRITE setProbing NOTIFY probingChanged)
  Q_PROPERTY(bool canProbe READ canProbe CONSTANT)
  Q_PROPERTY(bool hasHeard READ hasHeard NOTIFY heardChanged)
  Q_PROPERTY(QString statusText READ statusText NOTIFY heardChanged)
  Q_PROPERTY(bool hasProblem READ hasProblem NOTIFY heardChanged)
 public:
  // Speech at arm's length is well above this, the noise of a quiet room below.
  static constexpr float hearingLevel = 0.35F;
  static constexpr int hearingSteps = 3;  // levels in a row

  struct Services {
    SettingsManager& settings;
    AudioDeviceManager* devices = nullptr;
    AudioRecorderFactory* recorders = nullptr;
    Executor* executor = nullptr;
  };
  MicrophoneViewModel(Services services, const Logging& logging);

  QVariantList choices() const { return choices_; }  // {value, text}; the first, with an empty value: the system's
  QString selectedId() const;
  void select(const QString& id);
  QString activeName() const;
  bool hasMicrophone() const;
  qreal level() const { return level_; }
  bool canProbe() const { return probe_ != nullptr; }
  bool isProbing() const { return probe_ && probe_->isRunning(); }
  void setProbing(bool isProbing);
  // A voice has come through the microphone in use.
  bool hasHeard() const { return hasHeard_; }
  bool hasProblem() const;
  // What the meter says, in words.
  QString statusText() const;

 Q_SIGNALS:
  void choicesChanged();
  void levelChanged();
  void probingChanged();
  void heardChanged();

 private:
  void readChoices();
  void takeLevel(float level);
  void deviceChanged();

  Services services_;
  std::unique_ptr<MicrophoneProbe> probe_;
  QVariantList choices_;
  float level_ = 0;
  int loudSteps_ = 0;
  bool hasHeard_ = false;
  std::vector<Subscription> subscriptions_;
};

}  // namespace quillmere
