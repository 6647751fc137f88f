#include "core/WaitingText.h"

#include <gmock/gmock.h>

#include "core/RecordingFlowFixture.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

struct Fixture : RecordingFlowFixture {
  const RunningApplication mail{43, "org.example.Mail", "Mail", "Answer", false};
  WaitingText waiting{appState, autoPaste, workspace, executor};
  std::vector<qint64> strokes;  // by the program that got them

  Fixture() {
    pasteboard.copyElsewhere("the user's");
    keySynthesizer.onStroke = [this](const QString&) { strokes.push_back(workspace.frontmost->processId); };
    record();
    workspace.setFrontmost(mail);
    workspace.type();
    press();
    settle();
  }
};

TEST(WaitingTextTest, GoesWhereTheUserSays) {
  for (const bool isSent : {false, true}) {
    Fixture f;
    ASSERT_EQ(f.state().lastPaste, PasteOutcome::typedElsewhere);
    EXPECT_TRUE(f.state().showRecordingDialog);
    EXPECT_THAT(f.strokes, ElementsAre());
    EXPECT_EQ(f.waiting.targetName(), "Editor");
    isSent ? f.waiting.sendToTarget() : f.waiting.pasteHere();
    EXPECT_EQ(f.waiting.targetName(), QString()) << "it is on its way";
    f.waiting.pasteHere();  // a double click
    f.settle();
    EXPECT_THAT(f.strokes, ElementsAre(isSent ? f.editor.processId : f.mail.processId));
    EXPECT_EQ(f.workspace.frontmost, f.mail);
    EXPECT_EQ(f.state().lastPaste, PasteOutcome::pasted);
    EXPECT_FALSE(f.state().showRecordingDialog);
    f.waiting.pasteHere();
    f.executor.advance(20s);
    EXPECT_EQ(f.strokes.size(), 1U) << "once";
    EXPECT_EQ(f.pasteboard.plainText(), "the user's");
  }
}

TEST(WaitingTextTest, WaitsOnWhereItCannotGo) {
  Fixture f;
  f.workspace.close(f.editor);
  EXPECT_EQ(f.waiting.targetName(), QString());
  EXPECT_TRUE(f.waiting.isOnClipboard());
  f.waiting.sendToTarget();
  f.settle();
  EXPECT_THAT(f.strokes, ElementsAre());
  EXPECT_EQ(f.state().lastPaste, PasteOutcome::targetGone);
  EXPECT_TRUE(f.waiting.isOnClipboard());
  f.pasteboard.copyElsewhere("newer");
  EXPECT_FALSE(f.waiting.isOnClipboard());
}

}  // namespace
}  // namespace quillmere
