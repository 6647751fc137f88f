#include <gtest/gtest.h>

#include "platform/atspi/AtspiRoles.h"

namespace quillmere {
namespace {

TEST(AtspiRolesTest, TextIsAFieldOnlyWhenSomebodyCanWriteInIt) {
  struct Case {
    AtspiRole role;
    AtspiStates states;
    QMap<QString, QString> attributes;
    const char* axRole;
    bool isEditable;
  };
  const AtspiStates editable{AtspiState::editable};
  const AtspiStates lines{AtspiState::editable, AtspiState::multiLine};
  const AtspiStates readOnly{AtspiState::editable, AtspiState::readOnly};
  const Case cases[] = {
      {AtspiRole::entry, editable, {}, "AXTextField", true},
      {AtspiRole::entry, lines, {}, "AXTextArea", true},
      {AtspiRole::text, editable, {}, "AXTextField", true},
      {AtspiRole::text, {}, {}, "AXStaticText", false},
      {AtspiRole::text, readOnly, {}, "AXStaticText", false},
      {AtspiRole::entry, editable, {{"text-input-type", "search"}}, "AXSearchField", true},
      {AtspiRole::entry, editable, {{"xml-roles", "searchbox"}}, "AXSearchField", true},
      {AtspiRole::paragraph, lines, {}, "AXTextArea", true},
      {AtspiRole::paragraph, {}, {}, "AXGroup", false},
      {AtspiRole::documentText, editable, {}, "AXTextArea", true},
      {AtspiRole::passwordText, editable, {}, "AXTextField", true},
      {AtspiRole::terminal, {}, {}, "AXTextArea", true},
      {AtspiRole::comboBox, editable, {}, "AXComboBox", true},
      {AtspiRole::comboBox, {}, {}, "AXPopUpButton", false},
      {AtspiRole::documentWeb, {}, {}, "AXWebArea", false},
      {AtspiRole::panel, editable, {}, "AXGroup", true},
      {AtspiRole(85), {}, {}, "AXGroup", false},
  };
  for (const Case& each : cases) {
    const AtspiNature nature{each.role, each.states, {}, each.attributes};
    EXPECT_EQ(axRole(nature), QLatin1String(each.axRole)) << int(each.role);
    EXPECT_EQ(isEditableText(nature), each.isEditable) << int(each.role);
  }
  EXPECT_EQ(axSubrole(AtspiRole::passwordText), "AXSecureTextField");
  EXPECT_TRUE(axSubrole(AtspiRole::entry).isEmpty());
}

TEST(AtspiRolesTest, TheLetterOfAMenuItemComesFromAnyToolkitsBinding) {
  const std::pair<const char*, const char*> cases[] = {
      {"c;<Alt>e:c;<Control>c", "C"},
      {"c;e:c;<Primary>c", "C"},
      {"Ctrl+C", "C"},
      {"<Primary><Shift>c", "C"},
      {"c;<Alt>e:c;", ""},
      {"Alt+C", ""},
      {"<Primary>Insert", "INSERT"},
      {"", ""},
  };
  for (const auto& [binding, letter] : cases)
    EXPECT_EQ(axMenuItemCharacter(QString::fromLatin1(binding)), QLatin1String(letter)) << binding;
}

}  // namespace
}  // namespace quillmere
