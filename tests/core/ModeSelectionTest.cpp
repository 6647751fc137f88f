#include <gtest/gtest.h>

#include "core/SavedMode.h"
#include "core/TriggerFixture.h"

namespace quillmere {
namespace {

struct ModeFixture : TriggerFixture {
  ModePtr add(const QString& name, const QString& model = "base",
              PostProcessingMode postProcessing = PostProcessingMode::off, const QString& id = {}) {
    ModeData data;
    data.id = QUuid::fromString(id);
    data.name = name;
    data.model = model;
    data.language = "en";
    data.preset = "custom";
    data.postProcessingMode = postProcessing;
    return store->saveMode(data);
  }
  static QString idOf(const ModePtr& mode) { return mode->id->toString(QUuid::WithoutBraces); }
  QString cycle() { return state.cycleToNextMode() ? state.data().selectedModeName : "-"; }
};

TEST(ModeSelectionTest, CyclesThroughWhatWorksNow) {
  ModeFixture f;
  const auto first = f.add("Local");
  f.add("Cloud", "Cloud");
  f.add("Rewritten in the cloud", "base", PostProcessingMode::cloud);
  f.add("Rewritten here", "small", PostProcessingMode::local);
  f.state.selectMode(Mode(), false);
  EXPECT_EQ(f.state.data().selectedModeName, "Default");  // of one without a name
  EXPECT_EQ(f.cycle(), "Local");                          // what is selected isn't among them: the first
  EXPECT_EQ(f.cycle(), "Cloud");
  EXPECT_EQ(f.cycle(), "Rewritten in the cloud");
  EXPECT_EQ(f.cycle(), "Rewritten here");
  EXPECT_EQ(f.cycle(), "Local");
  EXPECT_EQ(f.modeToasts.size(), 5);
  EXPECT_EQ(f.settings.currentModeId(), f.idOf(first));

  f.network.online = false;
  EXPECT_EQ(f.cycle(), "Rewritten here");
  EXPECT_EQ(f.cycle(), "Local");
  EXPECT_TRUE(f.store->deleteMode(first));
  EXPECT_EQ(f.cycle(), "Rewritten here");  // the selected one is gone
  EXPECT_EQ(f.cycle(), "Rewritten here");  // the only one
}

TEST(ModeSelectionTest, StaysWhereNothingWorks) {
  ModeFixture f;
  f.add("Cloud", "CLOUD");
  f.add("Rewritten in the cloud", "base", PostProcessingMode::cloud);
  f.network.online = false;
  EXPECT_EQ(f.cycle(), "-");
  EXPECT_TRUE(f.modeToasts.isEmpty());
  EXPECT_EQ(f.state.data().selectedModeName, "Default");
}

TEST(ModeSelectionTest, SwitchesToTheLocalDefault) {
  ModeFixture f;
  f.state.update([](AppStateData& data) { data.showLocalModeSuggestion = true; });
  f.state.switchToLocalDefault();
  EXPECT_TRUE(f.state.data().showLocalModeSuggestion) << "there is none";
  f.add("On this computer", "base", PostProcessingMode::off, localDefaultModeId);
  f.state.switchToLocalDefault();
  EXPECT_EQ(f.state.data().selectedModeId, localDefaultModeId);
  EXPECT_FALSE(f.state.data().showLocalModeSuggestion);
}

TEST(ModeSelectionTest, TheModeOfTheLastRun) {
  struct Case {
    const char* storedId;  // "letters" stands for that mode's id
    const char* storedName;
    const char* selected;
  };
  const QString stale = "00000000-0000-0000-0000-00000000dead";
  const Case cases[] = {{"letters", "Default", "Letters"},
                        {"stale", "letters", "Letters"},  // its mode was deleted
                        {"stale", "Gone", "Base"},
                        {"", "", "Base"}};
  for (const Case& c : cases) {
    ModeFixture f;
    f.add("Base", "base", PostProcessingMode::off, defaultModeId)->isDefault = true;
    const auto letters = f.add("Letters");
    ASSERT_TRUE(f.store->save());
    f.settings.setCurrentModeId(QString(c.storedId).replace("letters", f.idOf(letters)).replace("stale", stale));
    f.settings.setCurrentMode(c.storedName);
    const int writes = f.defaults.writeCount;
    loadSavedMode(f.settings, *f.store, f.state, f.logging.logger("ApplicationLaunch"));
    EXPECT_EQ(f.state.data().selectedModeName, c.selected);
    EXPECT_EQ(f.defaults.writeCount, writes);  // a mode that is away for a while isn't forgotten
  }
}

// --- the alert for missing keys

using M = MissingAPIKey;

TEST(MissingKeyAlertTest, NamesEveryProviderOnceWithWhatItIsNeededFor) {
  const M speechOpenAI{M::Transcription{CloudProvider::openai}};
  const M rewritingOpenAI{M::PostProcessing{PostProcessingProvider::openai}};
  const M speechGroq{M::Transcription{CloudProvider::groq}};
  const M offline{M::Offline{}};
  struct Case {
    std::vector<M> missing;
    QString title;
    QStringList lines;
  };
  const Case cases[] = {
      {{offline}, "Internet connection required", {}},
      {{speechOpenAI}, "API key required", {"• OpenAI (speech recognition)"}},
      {{rewritingOpenAI}, "API key required", {"• OpenAI (post-processing)"}},
      {{rewritingOpenAI, speechGroq, speechOpenAI, rewritingOpenAI},
       "API keys required",
       {"• OpenAI (speech recognition and post-processing)", "• Groq (speech recognition)"}},
      {{offline, speechGroq}, "API keys required", {"• Offline", "• Groq (speech recognition)"}},
  };
  ModeFixture f;
  for (const Case& c : cases) {
    f.state.update([&](AppStateData& data) { data.missingAPIKeys = c.missing; });
    EXPECT_EQ(f.state.apiKeyAlertTitle(), c.title);
    EXPECT_EQ(f.state.apiKeyAlertMessage().split(u'\n').filter("•"), c.lines);
  }
}

}  // namespace
}  // namespace quillmere
