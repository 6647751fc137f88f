#include "interface/ShortcutsViewModel.h"

#include "base/text/LocalizedText.h"
#include "core/PushToTalk.h"
#include "core/ShortcutNames.h"
#include "ports/DefaultsStore.h"
#include "storage/SettingsManager.h"

namespace quillmere {
namespace {

// Those that act on what is there: the one for live dictation only where live dictation is on.
QStringList offeredNames(const SettingsManager& settings) {
  QStringList names;
  for (const char* name : shortcutNames::all)
    if (settings.streamingEnabled() || qstrcmp(name, shortcutNames::startStreaming) != 0)
      names << QString::fromLatin1(name);
  return names;
}

// What else the key does while it is watched; empty: nothing.
QString noteKey(ModifierKey key) {
  switch (key) {
    case ModifierKey::capsLock:
      return QStringLiteral("shortcuts.pushToTalk.note.capsLock");
    case ModifierKey::menu:
    case ModifierKey::pause:
    case ModifierKey::scrollLock:
      return QStringLiteral("shortcuts.pushToTalk.note.taken");
    case ModifierKey::leftAlt:
    case ModifierKey::rightAlt:
    case ModifierKey::leftSuper:
    case ModifierKey::rightSuper:
      return QStringLiteral("shortcuts.pushToTalk.note.shared");
    case ModifierKey::fn:
    case ModifierKey::control:
    case ModifierKey::leftControl:
    case ModifierKey::rightControl:
    case ModifierKey::leftShift:
    case ModifierKey::rightShift:
      break;
  }
  return {};
}

}  // namespace

ShortcutsViewModel::ShortcutsViewModel(Services services)
    : services_(std::move(services)),
      names_(offeredNames(services_.settings)),
      recorder_(services_.store, services_.shortcuts, services_.executor,
                [this](const QString& name) { nameChanged(name); }) {
  observation_ = services_.settings.observeChanges([this](const QString& key) {
    if (PushToTalk::isConcernedBy(key)) allChanged();
    if (key != QLatin1String("streamingEnabled")) return;
    beginResetModel();
    names_ = offeredNames(services_.settings);
    endResetModel();
  });
  keysObserver_ = services_.defaults.addObserver([this](const QString& key) {
    if (key.startsWith(shortcutSettingKey(QString()))) allChanged();
  });
}

ShortcutsViewModel::~ShortcutsViewModel() {
  services_.defaults.removeObserver(keysObserver_);
}

int ShortcutsViewModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : int(names_.size());
}

QHash<int, QByteArray> ShortcutsViewModel::roleNames() const {
  return {{nameRole, "name"},    {titleRole, "title"},           {descriptionRole, "description"},
          {keysRole, "keys"},    {recordingRole, "isRecording"}, {problemRole, "problem"},
          {shownRole, "isShown"}};
}

QVariant ShortcutsViewModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= names_.size()) return {};
  const QString& name = names_[index.row()];
  switch (role) {
    case nameRole:
      return name;
    case titleRole:
    case Qt::DisplayRole:
      return NormalizedShortcutRecorder::title(name);
    case descriptionRole:
      return localizedText(QStringLiteral("shortcuts.describe.") + name);
    case keysRole: {
      const auto keys = recorder_.keys(name);
      return keys ? keys->text() : QString();
    }
    case recordingRole:
      return recorder_.recordingName() == name;
    case problemRole:
      return recorder_.problem(name);
    case shownRole:
      return name != QLatin1String(shortcutNames::pushToTalk) ||
             services_.settings.pushToTalkMode() == PushToTalkMode::custom;
    default:
      return {};
  }
}

void ShortcutsViewModel::nameChanged(const QString& name) {
  const int row = int(names_.indexOf(name));
  if (row >= 0) Q_EMIT dataChanged(index(row), index(row));
  Q_EMIT changed();
}

void ShortcutsViewModel::allChanged() {
  if (!names_.isEmpty()) Q_EMIT dataChanged(index(0), index(int(names_.size()) - 1));
  Q_EMIT changed();
}

QVariantList ShortcutsViewModel::pushToTalkChoices() const {
  QVariantList choices;
  const PushToTalkMode present = services_.settings.pushToTalkMode();
  for (const PushToTalkMode mode : allCases<PushToTalkMode>()) {
    const auto key = PushToTalk::modifierOf(mode);
    bool isOffered = mode == PushToTalkMode::disabled;
    if (mode == PushToTalkMode::custom) isOffered = isAvailable();
    // Both sides of Ctrl have names of their own; the one for either is only understood.
    if (key && *key != ModifierKey::control && isAvailable())
      isOffered = services_.canSee ? services_.canSee(*key) : *key != ModifierKey::fn;
    if (isOffered || mode == present)
      choices << QVariantMap{{QStringLiteral("value"), rawValue(mode)},
                             {QStringLiteral("text"), localizedText(labelKey(mode))}};
  }
  return choices;
}

QString ShortcutsViewModel::pushToTalkDetail() const {
  const auto key = PushToTalk::modifierOf(services_.settings.pushToTalkMode());
  const QString detail =
      localizedText(key && isDoublePressEnabled() ? "shortcuts.pushToTalk.detail.taps" : "shortcuts.pushToTalk.detail");
  const QString note = key ? noteKey(*key) : QString();
  return note.isEmpty() ? detail : detail + u' ' + localizedText(note);
}

QString ShortcutsViewModel::pushToTalkMode() const {
  return rawValue(services_.settings.pushToTalkMode());
}

void ShortcutsViewModel::setPushToTalkMode(const QString& mode) {
  if (const auto known = fromRawValue<PushToTalkMode>(mode)) services_.settings.setPushToTalkMode(*known);
}

bool ShortcutsViewModel::isDoublePressEnabled() const {
  return services_.settings.pushToTalkDoublePressEnabled();
}

void ShortcutsViewModel::setDoublePressEnabled(bool isEnabled) {
  services_.settings.setPushToTalkDoublePressEnabled(isEnabled);
}

bool ShortcutsViewModel::isModifierHeld() const {
  return PushToTalk::modifierOf(services_.settings.pushToTalkMode()).has_value();
}

QString ShortcutsViewModel::pushToTalkProblem() const {
  if (isModifierHeld() && services_.isTrustedForAccessibility && !services_.isTrustedForAccessibility())
    return localizedText("shortcuts.pushToTalk.noAccessibility");
  return {};
}

QString ShortcutsViewModel::toggleKeys() const {
  const auto keys = recorder_.keys(QString::fromLatin1(shortcutNames::toggleRecordingWithTranscription));
  return keys && isAvailable() ? keys->text() : QString();
}

QString ShortcutsViewModel::toggleProblem() const {
  return recorder_.problem(QString::fromLatin1(shortcutNames::toggleRecordingWithTranscription));
}

bool ShortcutsViewModel::hasTrigger() const {
  if (!isAvailable()) return false;
  if (!toggleKeys().isEmpty()) return true;
  const PushToTalkMode mode = services_.settings.pushToTalkMode();
  if (mode == PushToTalkMode::custom) return recorder_.keys(QString::fromLatin1(shortcutNames::pushToTalk)).has_value();
  return mode != PushToTalkMode::disabled;
}

bool ShortcutsViewModel::choose(const QString& name, const QString& keys) {
  const auto combination = KeyCombination::parse(keys);
  return combination && recorder_.choose(name, *combination);
}

}  // namespace quillmere
