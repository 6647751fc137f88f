#include "platform/atspi/AtspiRoles.h"

namespace quillmere {
namespace {

bool isWebArea(AtspiRole role) {
  return role == AtspiRole::documentWeb || role == AtspiRole::documentFrame || role == AtspiRole::htmlContainer;
}

bool isTextRole(AtspiRole role) {
  switch (role) {
    case AtspiRole::text:
    case AtspiRole::entry:
    case AtspiRole::autocomplete:
    case AtspiRole::editbar:
    case AtspiRole::paragraph:
    case AtspiRole::heading:
    case AtspiRole::documentText:
    case AtspiRole::documentEmail:
    case AtspiRole::spinButton:
      return true;
    default:
      return false;
  }
}

bool isSearchField(const AtspiNature& nature) {
  return nature.attributes.value(QStringLiteral("text-input-type")) == QLatin1String("search") ||
         nature.attributes.value(QStringLiteral("xml-roles")).contains(QLatin1String("searchbox"));
}

QString textRole(const AtspiNature& nature) {
  if (!isEditableText(nature)) {
    if (nature.role == AtspiRole::heading) return QStringLiteral("AXHeading");
    if (nature.role == AtspiRole::paragraph) return QStringLiteral("AXGroup");
    return QStringLiteral("AXStaticText");
  }
  if (isSearchField(nature)) return QStringLiteral("AXSearchField");
  const bool isLine = nature.role == AtspiRole::text || nature.role == AtspiRole::entry ||
                      nature.role == AtspiRole::autocomplete || nature.role == AtspiRole::editbar ||
                      nature.role == AtspiRole::spinButton;
  return isLine && !nature.states.has(AtspiState::multiLine) ? QStringLiteral("AXTextField")
                                                             : QStringLiteral("AXTextArea");
}

}  // namespace

QString axRole(const AtspiNature& nature) {
  if (isWebArea(nature.role)) return QStringLiteral("AXWebArea");
  if (isTextRole(nature.role)) return textRole(nature);
  switch (nature.role) {
    case AtspiRole::passwordText:
      return QStringLiteral("AXTextField");
    case AtspiRole::terminal:
      return QStringLiteral("AXTextArea");
    case AtspiRole::comboBox:
      return isEditableText(nature) ? QStringLiteral("AXComboBox") : QStringLiteral("AXPopUpButton");
    case AtspiRole::pushButton:
    case AtspiRole::toggleButton:
      return QStringLiteral("AXButton");
    case AtspiRole::checkBox:
      return QStringLiteral("AXCheckBox");
    case AtspiRole::radioButton:
    case AtspiRole::pageTab:
      return QStringLiteral("AXRadioButton");
    case AtspiRole::menuBar:
      return QStringLiteral("AXMenuBar");
    case AtspiRole::menu:
    case AtspiRole::popupMenu:
      return QStringLiteral("AXMenu");
    case AtspiRole::menuItem:
    case AtspiRole::checkMenuItem:
    case AtspiRole::radioMenuItem:
      return QStringLiteral("AXMenuItem");
    case AtspiRole::frame:
    case AtspiRole::window:
    case AtspiRole::dialog:
    case AtspiRole::fileChooser:
      return QStringLiteral("AXWindow");
    case AtspiRole::application:
      return QStringLiteral("AXApplication");
    case AtspiRole::label:
    case AtspiRole::staticText:
      return QStringLiteral("AXStaticText");
    case AtspiRole::icon:
    case AtspiRole::image:
      return QStringLiteral("AXImage");
    case AtspiRole::link:
      return QStringLiteral("AXLink");
    case AtspiRole::list:
    case AtspiRole::listBox:
      return QStringLiteral("AXList");
    case AtspiRole::table:
    case AtspiRole::documentSpreadsheet:
      return QStringLiteral("AXTable");
    case AtspiRole::listItem:
    case AtspiRole::tableRow:
    case AtspiRole::treeItem:
      return QStringLiteral("AXRow");
    case AtspiRole::tableCell:
      return QStringLiteral("AXCell");
    case AtspiRole::tree:
    case AtspiRole::treeTable:
      return QStringLiteral("AXOutline");
    case AtspiRole::scrollPane:
      return QStringLiteral("AXScrollArea");
    case AtspiRole::scrollBar:
      return QStringLiteral("AXScrollBar");
    case AtspiRole::slider:
      return QStringLiteral("AXSlider");
    case AtspiRole::toolBar:
      return QStringLiteral("AXToolbar");
    case AtspiRole::pageTabList:
      return QStringLiteral("AXTabGroup");
    case AtspiRole::splitPane:
      return QStringLiteral("AXSplitGroup");
    case AtspiRole::unknown:
      return QStringLiteral("AXUnknown");
    // Panels, sections, fillers and the many containers of web pages.
    default:
      return QStringLiteral("AXGroup");
  }
}

QString axSubrole(AtspiRole role) {
  switch (role) {
    case AtspiRole::passwordText:
      return QStringLiteral("AXSecureTextField");
    case AtspiRole::dialog:
    case AtspiRole::fileChooser:
      return QStringLiteral("AXDialog");
    case AtspiRole::frame:
      return QStringLiteral("AXStandardWindow");
    default:
      return {};
  }
}

bool isEditableText(const AtspiNature& nature) {
  if (nature.states.has(AtspiState::readOnly)) return false;
  if (nature.role == AtspiRole::terminal) return true;
  return nature.states.has(AtspiState::editable);
}

bool needsAttributes(AtspiRole role) {
  return role == AtspiRole::entry || role == AtspiRole::text || role == AtspiRole::autocomplete;
}

bool isTopLevelRole(AtspiRole role) {
  return role == AtspiRole::frame || role == AtspiRole::window || role == AtspiRole::dialog ||
         role == AtspiRole::fileChooser;
}

QString axMenuItemCharacter(const QString& keyBinding) {
  // Mnemonic, path of mnemonics and shortcut, each possibly missing.
  const QStringList bindings = keyBinding.split(QLatin1Char(';'), Qt::SkipEmptyParts);
  for (auto binding = bindings.crbegin(); binding != bindings.crend(); ++binding) {
    const QString text = binding->trimmed();
    const bool hasControl = text.contains(QLatin1String("<Control>"), Qt::CaseInsensitive) ||
                            text.contains(QLatin1String("<Primary>"), Qt::CaseInsensitive) ||
                            text.contains(QLatin1String("Ctrl+"), Qt::CaseInsensitive);
    if (!hasControl || text.contains(QLatin1Char(':'))) continue;
    const qsizetype end = std::max(text.lastIndexOf(QLatin1Char('>')), text.lastIndexOf(QLatin1Char('+')));
    return text.mid(end + 1).toUpper();
  }
  return {};
}

}  // namespace quillmere
