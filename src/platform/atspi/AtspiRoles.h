#pragma once
#include <QMap>
#include <QString>
#include <QStringList>
#include <initializer_list>

namespace quillmere {

// The numbers of the accessibility protocol that matter here.
enum class AtspiRole : quint32 {
  unknown = 0,
  checkBox = 7,
  checkMenuItem = 8,
  comboBox = 11,
  desktopFrame = 14,
  dialog = 16,
  fileChooser = 19,
  filler = 20,
  frame = 23,
  htmlContainer = 25,
  icon = 26,
  image = 27,
  label = 29,
  list = 31,
  listItem = 32,
  menu = 33,
  menuBar = 34,
  menuItem = 35,
  pageTab = 37,
  pageTabList = 38,
  panel = 39,
  passwordText = 40,
  popupMenu = 41,
  pushButton = 43,
  radioButton = 44,
  radioMenuItem = 45,
  scrollBar = 48,
  scrollPane = 49,
  slider = 51,
  spinButton = 52,
  splitPane = 53,
  table = 55,
  tableCell = 56,
  terminal = 60,
  text = 61,
  toggleButton = 62,
  toolBar = 63,
  tree = 65,
  treeTable = 66,
  window = 69,
  paragraph = 73,
  application = 75,
  autocomplete = 76,
  editbar = 77,
  entry = 79,
  documentFrame = 82,
  heading = 83,
  link = 88,
  tableRow = 90,
  treeItem = 91,
  documentSpreadsheet = 92,
  documentPresentation = 93,
  documentText = 94,
  documentWeb = 95,
  documentEmail = 96,
  listBox = 98,
  staticText = 116,
};

enum class AtspiState : int {
  active = 1,
  defunct = 6,
  editable = 7,
  enabled = 8,
  focused = 12,
  multiLine = 17,
  sensitive = 24,
  showing = 25,
  visible = 30,
  managesDescendants = 31,
  readOnly = 43,
};

// A set of states as the protocol sends it: bit n for state n.
class AtspiStates {
 public:
  AtspiStates() = default;
  explicit AtspiStates(quint64 bits) : bits_(bits) {}
  AtspiStates(std::initializer_list<AtspiState> states) {
    for (const AtspiState state : states) bits_ |= quint64(1) << int(state);
  }
  bool has(AtspiState state) const { return (bits_ >> int(state)) & 1; }

 private:
  quint64 bits_ = 0;
};

// What the names of the application tables are derived from.
struct AtspiNature {
  AtspiRole role = AtspiRole::unknown;
  AtspiStates states;
  QStringList interfaces;
  QMap<QString, QString> attributes;  // only needed for text fields
};

// "AXTextField", "AXWebArea", ... ; "AXUnknown" for what has no counterpart. A text that nobody can edit is
// "AXStaticText", whatever its toolkit calls it.
QString axRole(const AtspiNature& nature);

// "AXSecureTextField", or nothing.
QString axSubrole(AtspiRole role);

// Whether typing changes the text. Some toolkits call read-only fields editable too, some offer no editing interface.
bool isEditableText(const AtspiNature& nature);

// Whether the role depends on attributes.
bool needsAttributes(AtspiRole role);

bool isTopLevelRole(AtspiRole role);

// The letter of a key binding like "c;<Alt>e:c;<Control>c" or "Ctrl+C", in capitals, when Control is part of it.
QString axMenuItemCharacter(const QString& keyBinding);

}  // namespace quillmere
