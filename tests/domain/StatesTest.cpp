#include "domain/States.h"

#include "base/text/LocalizedText.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

TEST(TranscriptionStateTest, Texts) {
  using S = TranscriptionState;
  EXPECT_EQ(S{}.text(), "idle");
  EXPECT_EQ((S{S::Transcribing{"Groq", 0.1F}}.text()), "transcribing with Groq (10%)");
  EXPECT_EQ((S{S::Transcribing{"Groq", 0.999F}}.text()), "transcribing with Groq (99%)");
  EXPECT_EQ((S{S::Transcribing{"Groq", 1.0F}}.text()), "transcribing with Groq (100%)");
  EXPECT_EQ(S{S::PostProcessing{}}.text(), "post-processing");
  EXPECT_EQ((S{S::Error{"no"}}.text()), "error: no");
  EXPECT_EQ((RecordingState{RecordingState::Complete{"secret"}}.diagnosticLabel()), "complete");
}

TEST(NavigationItemTest, EverySectionHasItsTextsInBothTables) {
  EXPECT_EQ(labelKey(NavigationItem::statistics), "sidebar.statistics");
  EXPECT_EQ(helpKey(NavigationItem::statistics), "sidebar.statistics.help");
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
