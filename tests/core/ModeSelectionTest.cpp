#include <gtest/gtest.h>

#include "core/SavedMode.h"
#include "core/TriggerFixture.h"
#include "storage/PersistenceController.h"
#include "support/FakeNetworkStatus.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

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
  QString cycle() { return state.cycleToNextMode() ? state.data().selectedModeName : QStringLiteral("-"); }
};

TEST(ModeSelectionTest, CyclesThroughWhatWorksNow) {
  ModeFixture f;
  const auto first = f.add("Local");
  f.add("Cloud", "Cloud");
  f.add("Rewritten in the cloud", "base", PostProcessingMode::cloud);
  f.add("Rewritten here", "small", PostProcessingMode::local);
  f.state.selectMode(Mode(), false);
  EXPECT_EQ(f.state.data().selectedModeName, "Default");  // of one without a name
  EXPECT_EQ(f.settings.currentModeId(), "");
  EXPECT_EQ(f.cycle(), "Local");  // what is selected isn't among them: the first
  EXPECT_EQ(f.cycle(), "Cloud");
  EXPECT_EQ(f.cycle(), "Rewritten in the cloud");
  EXPECT_EQ(f.cycle(), "Rewritten here");
  EXPECT_EQ(f.cycle(), "Local");
  EXPECT_EQ(f.modeToasts.size(), 5);
  EXPECT_EQ(f.settings.currentModeId(), f.idOf(first));
  EXPECT_EQ(f.settings.currentMode(), "Local");
  EXPECT_TRUE(f.log->contains("🔄 Cycled to mode: Local"));

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
  EXPECT_TRUE(f.notices.toasts.empty());
  EXPECT_EQ(f.state.data().selectedModeName, "Default");
  EXPECT_TRUE(f.log->contains("No available modes to cycle through in current network state"));
}

TEST(ModeSelectionTest, SwitchesToTheLocalDefault) {
  ModeFixture f;
  f.state.update([](AppStateData& data) { data.showLocalModeSuggestion = true; });
  f.state.switchToLocalDefault();
  EXPECT_TRUE(f.log->contains("Local default mode not found"));
  EXPECT_TRUE(f.state.data().showLocalModeSuggestion);
  f.add("On this computer", "base", PostProcessingMode::off, localDefaultModeId);
  f.state.switchToLocalDefault();
  EXPECT_EQ(f.state.data().selectedModeId, localDefaultModeId);
  EXPECT_EQ(f.settings.currentModeId(), localDefaultModeId);
  EXPECT_FALSE(f.state.data().showLocalModeSuggestion);
}

TEST(ModeSelectionTest, TheModeOfTheLastRun) {
  struct Case {
    const char* storedId;  // "letters" stands for that mode's id
    const char* storedName;
    const char* selected;
    const char* line;
  };
  const QString stale = "00000000-0000-0000-0000-00000000dead";
  const Case cases[] = {
      {"letters", "Default", "Letters", "📝 Loaded saved mode by ID: Letters"},
      {"stale", "letters", "Letters", "📝 Loaded saved mode by name: Letters"},  // its mode was deleted
      {"", "Letters", "Letters", "📝 Loaded saved mode by name: Letters"},
      {"stale", "Gone", "Base", "📝 Using fallback mode: Base"},
      {"", "", "Base", "📝 Using fallback mode: Base"},
  };
  for (const Case& c : cases) {
    ModeFixture f;
    const auto base = f.add("Base", "base", PostProcessingMode::off, defaultModeId);
    const auto letters = f.add("Letters");
    base->isDefault = true;
    ASSERT_TRUE(f.store->save());
    f.settings.setCurrentModeId(QString(c.storedId).replace("letters", f.idOf(letters)).replace("stale", stale));
    f.settings.setCurrentMode(c.storedName);
    const int writes = f.defaults.writeCount;
    loadSavedMode(f.settings, *f.store, f.state, f.logging.logger("ApplicationLaunch"));
    EXPECT_EQ(f.state.data().selectedModeName, c.selected);
    EXPECT_EQ(f.state.data().selectedModeId, f.idOf(QString(c.selected) == "Base" ? base : letters));
    EXPECT_EQ(f.log->count(c.line), 1) << f.log->lines().join('\n').toStdString();
    EXPECT_EQ(f.defaults.writeCount, writes);  // a mode that is away for a while isn't forgotten
  }
}

// --- the alert for missing keys

using M = MissingAPIKey;

TEST(MissingKeyAlertTest, NamesEveryProviderOnceWithWhatItIsNeededFor) {
  const M speechOpenAI{M::Transcription{CloudProvider::openai}};
  const M rewritingOpenAI{M::PostProcessing{PostProcessingProvider::openai}};
  const M speechGroq{M::Transcription{CloudProvider::groq}};
  const M rewritingAnthropic{M::PostProcessing{PostProcessingProvider::anthropic}};
  const M offline{M::Offline{}};
  struct Case {
    std::vector<M> missing;
    QString title;
    QString message;
  };
  const QString one = "An API key is missing for this mode:\n\n";
  const QString several = "API keys are missing for this mode:\n\n";
  const QString footer = "\nPlease add what is missing in the settings, or choose another mode.";
  const Case cases[] = {
      {{}, "API key required", "This mode needs an API key. Please add it in the settings."},
      {{offline},
       "Internet connection required",
       "This mode transcribes over the internet, and there is no connection. Connect, or choose a mode that works on "
       "this computer."},
      {{speechOpenAI}, "API key required", one + "• OpenAI (speech recognition)" + footer},
      {{rewritingAnthropic}, "API key required", one + "• Anthropic (post-processing)" + footer},
      {{speechOpenAI, rewritingAnthropic},
       "API keys required",
       several + "• OpenAI (speech recognition)\n• Anthropic (post-processing)" + footer},
      {{rewritingOpenAI, speechGroq, speechOpenAI, rewritingOpenAI},
       "API keys required",
       several + "• OpenAI (speech recognition and post-processing)\n• Groq (speech recognition)" + footer},
      {{offline, speechGroq}, "API keys required", several + "• Offline\n• Groq (speech recognition)" + footer},
  };
  ModeFixture f;
  for (const Case& c : cases) {
    f.state.update([&](AppStateData& data) { data.missingAPIKeys = c.missing; });
    EXPECT_EQ(f.state.apiKeyAlertTitle(), c.title);
    EXPECT_EQ(f.state.apiKeyAlertMessage(), c.message);
  }
}

// --- what else the state remembers and logs

TEST(AppStateObserversTest, TheSectionAndTheFirstRunAreRemembered) {
  TriggerFixture f;
  EXPECT_FALSE(f.state.data().hasCompletedOnboarding);
  f.state.setHasCompletedOnboarding(true);
  f.state.selectNavigationItem(NavigationItem::history);
  const AppState next(f.dependencies(), f.logging);
  EXPECT_TRUE(next.data().hasCompletedOnboarding);
  EXPECT_EQ(next.data().selectedNavigationItem, NavigationItem::history);
  f.defaults.setValue("lastNavigationItem", "Nowhere");
  const AppState last(f.dependencies(), f.logging);
  EXPECT_EQ(last.data().selectedNavigationItem, NavigationItem::home);
}

TEST(AppStateObserversTest, ASearchIsLoggedWhenTheTypingRests) {
  TriggerFixture f;
  f.state.update([](AppStateData& d) { d.recordingState = {RecordingState::Complete{"my secret"}}; });
  const auto type = [&](const QString& text) {
    f.state.update([&](AppStateData& data) { data.historySearchQuery = text; });
  };
  type("in");
  f.executor.advance(200ms);
  type("inv");
  f.executor.advance(299ms);
  f.state.update([](AppStateData& data) { data.showSettings = true; });  // something else puts nothing off
  EXPECT_EQ(f.log->lines().count("Searching history for: inv"), 0);
  f.executor.advance(1ms);
  EXPECT_EQ(f.log->lines().count("Searching history for: inv"), 1);
  EXPECT_EQ(f.log->lines().count("Searching history for: in"), 0);
  EXPECT_EQ(f.log->lines().count("Completed with text: my secret"), 1);
  for (const char* said : {"inv", "secret"}) EXPECT_FALSE(f.log->publicLines().join('\n').contains(said));

  {
    AppState other(f.dependencies(), f.logging);
    other.update([](AppStateData& data) { data.historySearchQuery = "left behind"; });
  }
  f.executor.advance(1s);
  EXPECT_EQ(f.log->lines().count("Searching history for: left behind"), 0);
}

}  // namespace
}  // namespace quillmere
