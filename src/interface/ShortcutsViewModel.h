#pragma once
#include <QAbstractListModel>
#include <QStringList>
#include <QVariantList>
#include <functional>
#include <vector>

#include "base/Subscription.h"
#include "domain/ModifierKey.h"
#include "interface/NormalizedShortcutRecorder.h"

namespace quillmere {

class DefaultsStore;
class SettingsManager;

// The system-wide shortcuts, one a row, and the key that is held to talk. Where the session lets programs take no keys
// (isAvailable is false) none is offered, and none counts as a trigger. Main thread; everything outlives it.
class ShortcutsViewModel final : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(bool isAvailable READ isAvailable CONSTANT)
  Q_PROPERTY(QString recordingName READ recordingName NOTIFY changed)
  Q_PROPERTY(QVariantList pushToTalkChoices READ pushToTalkChoices NOTIFY changed)
  Q_PROPERTY(QString pushToTalkDetail READ pushToTalkDetail NOTIFY changed)
  Q_PROPERTY(QString pushToTalkMode READ pushToTalkMode WRITE setPushToTalkMode NOTIFY changed)
  Q_PROPERTY(bool isDoublePressEnabled READ isDoublePressEnabled WRITE setDoublePressEnabled NOTIFY changed)
  Q_PROPERTY(bool isModifierHeld READ isModifierHeld NOTIFY changed)
  Q_PROPERTY(QString pushToTalkProblem READ pushToTalkProblem NOTIFY changed)
  Q_PROPERTY(QString toggleKeys READ toggleKeys NOTIFY changed)
  Q_PROPERTY(QString toggleProblem READ toggleProblem NOTIFY changed)
  Q_PROPERTY(bool hasTrigger READ hasTrigger NOTIFY changed)
 public:
  enum Role {
    nameRole = Qt::UserRole + 1,
    titleRole,
    descriptionRole,
    keysRole,  // "Ctrl+Alt+D", empty: none
    recordingRole,
    problemRole,
    shownRole  // whether the row means anything now
  };

  struct Services {
    SettingsManager& settings;
    ShortcutStore& store;
    GlobalShortcuts& shortcuts;
    Executor& executor;
    DefaultsStore& defaults;                          // where the keys stand, whoever changes them
    std::function<bool(ModifierKey)> canSee = {};     // whether the keyboard has that key; default: all but Fn
    std::function<bool()> isTrustedForAccessibility;  // default: yes
  };
  explicit ShortcutsViewModel(Services services);
  ~ShortcutsViewModel() override;

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  bool isAvailable() const { return recorder_.isAvailable(); }
  QString recordingName() const { return recorder_.recordingName(); }
  QVariantList pushToTalkChoices() const;  // {value, text}
  // What the chosen key does when it is held and when it is tapped.
  QString pushToTalkDetail() const;
  QString pushToTalkMode() const;
  void setPushToTalkMode(const QString& mode);
  bool isDoublePressEnabled() const;
  void setDoublePressEnabled(bool isEnabled);
  // Push-to-talk by a key like Ctrl alone: a double press can latch.
  bool isModifierHeld() const;
  QString pushToTalkProblem() const;
  QString toggleKeys() const;
  QString toggleProblem() const;
  // The user has a key to start a dictation with.
  bool hasTrigger() const;

  Q_INVOKABLE void record(const QString& name) { recorder_.record(name); }
  Q_INVOKABLE void stopRecording() { recorder_.stopRecording(); }
  Q_INVOKABLE void clear(const QString& name) { recorder_.clear(name); }
  // Keys as text, such as a proposal; false when they can't be had.
  Q_INVOKABLE bool choose(const QString& name, const QString& keys);

 Q_SIGNALS:
  void changed();

 private:
  void nameChanged(const QString& name);
  void allChanged();

  Services services_;
  QStringList names_;
  NormalizedShortcutRecorder recorder_;
  Subscription observation_;
  int keysObserver_ = 0;
};

}  // namespace quillmere
