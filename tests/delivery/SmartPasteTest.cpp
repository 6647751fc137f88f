#include "DeliveryFixture.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Kind = PasteOutcome;
using testing::ElementsAre;
using testing::IsEmpty;

const QString text = "Grüße 👋";

using SmartPasteTest = DeliveryFixture;

TEST_F(SmartPasteTest, EveryKindOfTargetGetsTheKeystrokeThatFitsOrNone) {
  const auto button = node("AXButton");
  const struct {
    const char* name;
    const char* bundleId;
    FakeAccessibilityNode::Ptr focused;
    bool hasV;
    Kind kind;
    QStringList strokes;
  } cases[] = {
      {"text field", "org.example.editor", node("AXTextField"), true, Kind::pasted, {"control+55"}},
      {"no v on any layout", "org.example.editor", node("AXTextField"), false, Kind::pasted, {"shift+insert"}},
      {"nothing to be read", "org.example.editor", nullptr, true, Kind::pasted, {"shift+insert"}},
      {"no role", "org.example.editor", node(), true, Kind::pasted, {"shift+insert"}},
      {"emacs", "emacs", button, true, Kind::pasted, {"shift+insert"}},
      {"button", "org.example.editor", button, true, Kind::noTarget, {}},
      {"browser without focus", "org.mozilla.firefox", nullptr, true, Kind::pasted, {"control+55"}},
      {"password field of a browser", "org.mozilla.firefox", passwordField(), true, Kind::secureField, {}},
      {"password field of a listed editor", "com.microsoft.VSCode", passwordField(), true, Kind::secureField, {}},
      {"blind paste", "com.tinyspeck.slackmacgap", button, true, Kind::pasted, {"control+55"}},
      {"kitty", "net.kovidgoyal.kitty", nullptr, true, Kind::pasted, {"shift+insert"}},
  };
  for (const auto& one : cases) {
    keys.strokes.clear();
    keys.keyCodes.clear();
    if (one.hasV) keys.keyCodes.insert(QLatin1Char('v'), 55);
    putInFront(one.bundleId);
    accessibility.focus(one.focused);
    pasteboard.copyElsewhere(original);
    EXPECT_EQ(paste(text), one.kind) << one.name;
    EXPECT_EQ(keys.strokes, one.strokes) << one.name;
    EXPECT_EQ(clipboardText(), text) << one.name;
    EXPECT_TRUE(pasteboard.writes.back().isConcealed || pasteboard.writes.back().isSelection) << one.name;
    if (one.kind == Kind::noTarget) pasteboard.fetch();  // the user pressed Ctrl+V
    executor.advance(21s);
    EXPECT_TRUE(isOriginalBack()) << one.name;
  }
}

TEST_F(SmartPasteTest, OurOwnWindowsStepAside) {
  workspace.setFrontmost(RunningApplication{1, "com.quillmere.app", "Quillmere", "", true});
  EXPECT_EQ(paste(request(text, std::nullopt)), Kind::pasted);
  EXPECT_EQ(workspace.hides, 1);
  EXPECT_EQ(workspace.activations.size(), 0u);
}

TEST_F(SmartPasteTest, AFrontAndAFocusThatComeLateAreWaitedFor) {
  workspace.setFrontmost(workspace.running(otherPID));
  workspace.becomesFrontmostWhenActivated = false;
  EXPECT_EQ(paste(text), Kind::noTarget);
  EXPECT_EQ(clipboardText(), text);
  TaskScope scope(executor);
  auto pasting = scope.spawn(handler.paste(request(text)));
  executor.advance(300ms);
  EXPECT_THAT(keys.strokes, IsEmpty());
  workspace.setFrontmost(workspace.running(targetPID));
  executor.advance(200ms);
  EXPECT_THAT(keys.strokes, ElementsAre("control+55"));
  executor.advance(1s);

  putInFront("com.tinyspeck.slackmacgap");
  accessibility.focus(nullptr);
  auto later = scope.spawn(handler.paste(request(text)));
  executor.advance(290ms);
  EXPECT_EQ(keys.strokes.size(), 1);
  accessibility.focus(node("AXTextArea"));
  executor.advance(10ms);
  EXPECT_EQ(keys.strokes.size(), 2) << "180 ms and the retry of 120 ms";
}

TEST_F(SmartPasteTest, WhereNothingCanBeReadTheFetchIsTheProof) {
  const struct {
    const char* name;
    std::function<void()> arrange;
  } cases[] = {{"an empty tree", [&] { accessibility.focus(nullptr); }},
               {"a program that hangs", [&] { accessibility.hangs = true; }},
               {"no bus", [&] { accessibility.trusted = false; }}};
  for (const auto& one : cases) {
    for (const bool isFetched : {true, false}) {
      accessibility.hangs = false;
      accessibility.trusted = true;
      keys.strokes.clear();
      pasteboard.copyElsewhere(original);
      pasteboard.selectElsewhere("marked");
      pasteboard.isFetchedWhenExpected = isFetched;
      one.arrange();
      const Kind expected = isFetched ? Kind::pasted : accessibility.trusted ? Kind::notFetched : Kind::noPermission;
      EXPECT_EQ(paste(text), expected) << one.name;
      EXPECT_THAT(keys.strokes, ElementsAre("shift+insert")) << one.name;
      EXPECT_EQ(clipboardText(), text) << one.name;
      EXPECT_EQ(pasteboard.selection, text) << one.name;
      pasteboard.fetch();
      executor.advance(21s);
      EXPECT_TRUE(isOriginalBack()) << one.name;
      EXPECT_EQ(pasteboard.selection, "marked") << one.name;
    }
  }
  for (const Duration limit : accessibility.limits) EXPECT_LE(limit, Duration(250ms));
  // The visits that come back late find nothing of ours in their way.
  for (const auto& work : accessibility.late) work(accessibility.tree);
}

TEST_F(SmartPasteTest, APasswordFieldThatTakesTheFocusAtTheLastMomentGetsNothing) {
  accessibility.onVisit = [&] {
    if (accessibility.limits.size() == 2) accessibility.focus(passwordField());
  };
  EXPECT_EQ(paste(text), Kind::secureField);
  EXPECT_EQ(accessibility.limits.size(), 2u);
  EXPECT_THAT(keys.strokes, IsEmpty());
}

TEST_F(SmartPasteTest, AFailedChordFallsBackAndAFailedFallbackFails) {
  keys.failure = PlatformError{"x11", 0, "no"};
  EXPECT_EQ(paste(text), Kind::failed);
  EXPECT_EQ(clipboardText(), text);

  pasteboard.canWrite = false;
  keys.failure.reset();
  EXPECT_EQ(paste(text), Kind::failed);
  EXPECT_THAT(keys.strokes, IsEmpty());
}

TEST_F(SmartPasteTest, WhoPastesHimselfIsToldTheKeysThatDoIt) {
  const struct {
    const char* name;
    const char* bundleId;
    FakeAccessibilityNode::Ptr focused;
    PasteKeys keys;
  } cases[] = {
      {"a text field", "org.example.letters", node("AXTextField"), PasteKeys::controlV},
      {"a list", "org.example.letters", node("AXList"), PasteKeys::controlV},
      {"nothing to be read", "org.example.letters", nullptr, PasteKeys::shiftInsert},
      {"a terminal", "net.kovidgoyal.kitty", nullptr, PasteKeys::shiftInsert},
  };
  for (const auto& one : cases) {
    pasteboard.copyElsewhere(original);
    pasteboard.selectElsewhere("marked");
    workspace.setFrontmost(application(300, one.bundleId));
    accessibility.focus(one.focused);
    PasteRequest wanted = request(text);
    wanted.target = application(7, "org.example.closed");
    std::optional<PasteKeys> told;
    wanted.onLeft = [&](PasteKeys keys) { told = keys; };
    EXPECT_EQ(paste(wanted), Kind::targetGone) << one.name;
    EXPECT_EQ(told, one.keys) << one.name;
    // Some programs paste the selection with Shift+Insert.
    EXPECT_EQ(pasteboard.selection, one.keys == PasteKeys::shiftInsert ? text : "marked") << one.name;
    executor.advance(1s);
    pasteboard.fetch();
    executor.advance(20s);
    EXPECT_TRUE(isOriginalBack()) << one.name;
    EXPECT_EQ(pasteboard.selection, "marked") << one.name;
  }
  EXPECT_THAT(keys.strokes, IsEmpty());
}

// --- windows

TEST_F(SmartPasteTest, TheTargetIsTheWindowOfThePressAndNobodyWhenThatIsClosed) {
  const auto letter = application(300, "org.example.writer", 31);
  const auto invoice = application(300, "org.example.writer", 32);
  workspace.setFrontmost(letter);
  workspace.setFrontmost(invoice);
  PasteRequest toLetter = request(text);
  toLetter.target = letter;
  std::vector<quint64> windows;
  keys.onStroke = [&](const QString&) { windows.push_back(workspace.frontmost->windowId); };
  EXPECT_EQ(paste(toLetter), Kind::pasted);
  EXPECT_THAT(windows, ElementsAre(31u));
  EXPECT_EQ(workspace.frontmost, invoice);

  workspace.close(letter);
  workspace.activations.clear();
  EXPECT_EQ(paste(toLetter), Kind::targetGone);
  EXPECT_EQ(windows.size(), 1u);
  EXPECT_THAT(workspace.activations, IsEmpty());
  EXPECT_EQ(clipboardText(), text);
  EXPECT_TRUE(handler.isOnClipboard(text));
  pasteboard.copyElsewhere("newer");
  EXPECT_FALSE(handler.isOnClipboard(text));
}

TEST_F(SmartPasteTest, TheFocusIsTakenFromNobodyWhoTypesElsewhere) {
  const auto editor = workspace.running(targetPID);
  const auto other = workspace.running(otherPID);
  const auto third = application(300, "org.example.third");
  workspace.applications.push_back(third);
  const struct {
    const char* name;
    std::function<void()> user;
    bool hasTarget;
    Kind outcome;
  } cases[] = {
      {"types elsewhere", [&] { workspace.setFrontmost(other), workspace.type(); }, true, Kind::typedElsewhere},
      {"types, was nowhere at the press", [&] { workspace.type(); }, false, Kind::typedElsewhere},
      {"only moved", [&] { workspace.setFrontmost(other); }, true, Kind::pasted},
      {"typed on in the target", [&] { workspace.type(); }, true, Kind::pasted},
      {"came back", [&] { workspace.setFrontmost(other), workspace.type(), workspace.setFrontmost(editor); }, true,
       Kind::pasted},
      {"typed there, is here", [&] { workspace.setFrontmost(other), workspace.type(), workspace.setFrontmost(third); },
       true, Kind::pasted},
      {"keys of another paste",
       [&] {
         keys.onStroke = [&](const QString&) { workspace.type(); };
         EXPECT_EQ(paste(request("first", otherPID)), Kind::pasted);
         keys.onStroke = nullptr;
         workspace.setFrontmost(other);
       },
       true, Kind::pasted},
  };
  for (const auto& one : cases) {
    pasteboard.copyElsewhere(original);
    workspace.setFrontmost(editor);
    PasteRequest wanted = request(text);
    if (!one.hasTarget) wanted.target.reset();
    wanted.typing = handler.watchTyping();
    one.user();
    const auto before = workspace.frontmost;
    keys.strokes.clear();
    workspace.activations.clear();
    EXPECT_EQ(paste(wanted), one.outcome) << one.name;
    EXPECT_EQ(keys.strokes.size(), one.outcome == Kind::pasted ? 1 : 0) << one.name;
    EXPECT_EQ(workspace.activations.empty(), one.outcome == Kind::typedElsewhere) << one.name;
    EXPECT_EQ(workspace.frontmost, before) << one.name;
    EXPECT_EQ(clipboardText(), text) << one.name;
    // "Paste here": the same text, where the user is by now.
    wanted.target = workspace.frontmost;
    EXPECT_EQ(paste(wanted), Kind::pasted) << one.name;
    wanted.typing.reset();
    EXPECT_EQ(workspace.typingObserverCount(), 0u);
    executor.advance(11s);
    EXPECT_TRUE(isOriginalBack()) << one.name;
  }
}

}  // namespace
}  // namespace quillmere
