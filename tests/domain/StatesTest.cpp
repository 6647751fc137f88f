#include "domain/States.h"

#include "base/text/LocalizedText.h"
#include "domain/ModeTypes.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

TEST(RecordingStateTest, DiagnosticsDoNotShowTheText) {
  EXPECT_EQ((RecordingState{RecordingState::Complete{"secret"}}.diagnosticLabel()), "complete");
}

TEST(LabelsTest, EveryOneHasAText) {
  QStringList keys;
  for (const auto item : allCases<NavigationItem>()) keys << labelKey(item) << helpKey(item);
  for (const auto preset : allCases<PresetType>()) keys << nameKey(preset) << tooltipKey(preset);
  for (const auto tier : allCases<CloudAccuracyTier>()) keys << labelKey(tier);
  for (const auto spelling : allCases<EnglishSpelling>()) keys << labelKey(spelling) << descriptionKey(spelling);
  const TestTexts texts;
  for (const QString& key : keys) EXPECT_NE(localizedText(key), key) << qPrintable(key);
}

}  // namespace
}  // namespace quillmere
