#include "domain/States.h"

#include "base/text/LocalizedText.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

TEST(RecordingStateTest, DiagnosticsDoNotShowTheText) {
  EXPECT_EQ((RecordingState{RecordingState::Complete{"secret"}}.diagnosticLabel()), "complete");
}

TEST(NavigationItemTest, EverySectionHasItsTextsInBothTables) {
  for (const char* language : {"en", "de"}) {
    const TestTexts texts(QString::fromLatin1(language));
    for (const auto item : allCases<NavigationItem>()) {
      EXPECT_NE(localizedText(labelKey(item)), labelKey(item));
      EXPECT_NE(localizedText(helpKey(item)), helpKey(item));
    }
  }
}

}  // namespace
}  // namespace quillmere
