#include "triggers/BareModifierKeyMonitor.h"

#include "support/FakeErrorReporting.h"
#include "support/FakeKeyEventMonitor.h"
#include "support/ManualExecutor.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

// A monitor with a user who acts by the clock. Signals are noted with their time: "down@250 up@2000".
class Desk {
 public:
  explicit Desk(ModifierKey key = ModifierKey::control) : key_(key) {
    monitor.setOnModifierDown([this] { note("down"); });
    monitor.setOnModifierUp([this] { note("up"); });
    monitor.setOnInterferenceDetected([this] { note("interference"); });
    monitor.start(key);
  }

  // Steps such as "250+": at 250 ms the key goes down. '-' up, 'k' an ordinary key, 'c' a click, 'm' and 'M' Super
  // (Alt where Super is the key) down and up, 'o' and 'O' the same key of the other side, 's' suspend, 'r' resume, 'i'
  // resetToIdle, 'd' double press off, 'z' stop, 'a' start again, '.' nothing. What is due at a time happens before the
  // step of that time.
  void play(const QString& script) {
    for (const QString& step : script.split(u' ', Qt::SkipEmptyParts)) {
      const Duration at = std::chrono::milliseconds(step.chopped(1).toLongLong());
      executor.advance(at - (executor.now() - start_));
      act(step.back());
      executor.runReady();
    }
  }

  ManualExecutor executor;
  FakeKeyEventMonitor keyboard;
  FakeErrorReporting reporting;
  BareModifierKeyMonitor monitor{keyboard, executor, &reporting, Logging()};
  QStringList signalled;

 private:
  void note(const char* signal) {
    const qint64 at = (executor.now() - start_) / 1ms;
    signalled << QStringLiteral("%1@%2").arg(QLatin1String(signal)).arg(at);
  }
  // As the keyboard gives them: the bit of the side with the common one.
  static std::pair<unsigned, unsigned> flagsOf(ModifierKey key) {
    using namespace modifierFlags;
    struct Sides {
      unsigned left, right, common;
    };
    for (const Sides& kind : {Sides{leftControl, rightControl, control}, Sides{leftAlt, rightAlt, alt},
                              Sides{leftShift, rightShift, shift}, Sides{leftSuper, rightSuper, super}}) {
      if (of(key) == kind.left) return {kind.left | kind.common, kind.right | kind.common};
      if (of(key) == kind.right) return {kind.right | kind.common, kind.left | kind.common};
    }
    return {of(key), 0};
  }
  void set(unsigned mask, bool isOn) { keyboard.setFlags(flags_ = isOn ? flags_ | mask : flags_ & ~mask); }
  void act(QChar action) {
    const auto [own, otherSide] = flagsOf(key_);
    const unsigned other = (own & modifierFlags::super) != 0 ? modifierFlags::alt : modifierFlags::super;
    const std::map<QChar, std::function<void()>> actions{
        {u'+', [&] { set(own, true); }},
        {u'-', [&] { set(own, false); }},
        {u'k', [&] { keyboard.pressKey(); }},
        {u'c', [&] { keyboard.click(); }},
        {u'm', [&] { set(other, true); }},
        {u'M', [&] { set(other, false); }},
        {u'o', [&] { set(otherSide, true); }},
        {u'O', [&] { set(otherSide, false); }},
        {u's', [&] { monitor.setSuspended(true); }},
        {u'r', [&] { monitor.setSuspended(false); }},
        {u'i', [&] { monitor.resetToIdle(); }},
        {u'd', [&] { monitor.setDoublePressEnabled(false); }},
        {u'z', [&] { monitor.stop(); }},
        {u'a', [&] { monitor.start(key_); }},
        {u'.', [] {}},
    };
    actions.at(action)();
  }

  const ModifierKey key_;
  const TimePoint start_ = executor.now();
  unsigned flags_ = 0;
};

struct Gesture {
  const char* name;
  ModifierKey key;
  const char* script;
  const char* expected;
  MonitorState endsIn;
};

class BareModifierGestures : public testing::TestWithParam<Gesture> {};

TEST_P(BareModifierGestures, GiveTheirSignals) {
  const Gesture& gesture = GetParam();
  Desk desk(gesture.key);
  desk.play(QString::fromLatin1(gesture.script));
  EXPECT_EQ(desk.signalled.join(u' '), QString::fromLatin1(gesture.expected));
  EXPECT_EQ(rawValue(desk.monitor.state()), rawValue(gesture.endsIn));
}

constexpr auto fn = ModifierKey::fn;
constexpr auto control = ModifierKey::control;
constexpr auto left = ModifierKey::leftAlt;
constexpr auto right = ModifierKey::rightAlt;
constexpr auto idle = MonitorState::idle;
constexpr auto waiting = MonitorState::waitingForActivation;
constexpr auto active = MonitorState::pttActive;
constexpr auto latched = MonitorState::latchActive;
constexpr auto unlatching = MonitorState::unlatchPending;

const Gesture gestures[] = {
    {"HoldJustTooLongForTheLock", control, "0+ 1751- 9000.", "down@250 up@1751", idle},
    {"HoldOfExactlyTheWindowLocks", control, "0+ 1750- 9000.", "down@250", latched},
    {"ReleaseAtActivationLocks", control, "0+ 250- 9000.", "down@250", latched},
    {"QuickTap", control, "0+ 249- 9000.", "down@349 up@1749", idle},
    {"TapTap", control, "0+ 100- 400+ 500- 9000.", "down@200", latched},
    {"TapTapBeforeTheDelayedStart", control, "0+ 50- 90+ 120- 9000.", "down@150", latched},
    {"SecondPressAfterTheWindowIsANewGesture", control, "0+ 100- 1700+ 1800- 1850.", "down@200 up@1600", active},
    {"UnlockBeginsOneSecondAfterTheLock", control, "0+ 300- 1299+ 1299- 1300+", "down@250", unlatching},
    {"IgnoredPressAndReleaseDoNotCountAsATap", control, "0+ 300- 1200+ 1400- 2000+ 2100- 9000.", "down@250", latched},
    {"SecondTapMayBeHeldBeyondTheTimer", control, "0+ 300- 2000+ 2100- 2500+ 3599-", "down@250 up@3599", idle},
    {"UnlockAfterTheTimerBeginsAnew", control, "0+ 300- 2000+ 2100- 2500+ 3601- 9000.", "down@250", latched},
    {"ALongPressWhileLockedIsTheFirstTap", control, "0+ 300- 2000+ 8000- 8100+ 8200-", "down@250 up@8200", idle},

    {"KeyDuringActivation", control, "0+ 100k 200- 9000.", "", idle},
    {"KeyDuringTheHold", control, "0+ 500k 600- 9000.", "down@250 interference@500", idle},
    {"KeyBetweenTapAndDelayedStart", control, "0+ 100- 150k 9000.", "", idle},
    {"KeyInTheWindowOfATap", control, "0+ 100- 900k 9000.", "down@200 interference@900", idle},
    {"KeysAreFreeWhileLocked", control, "0+ 300- 1000k 2000m 2100k 2200M 9000.", "down@250", latched},
    {"KeysAreFreeWhileUnlocking", control, "0+ 300- 2000+ 2050k 2100- 2200k 2300+ 2400-", "down@250 up@2400", idle},
    {"OtherModifierFirstThenTheKey", control, "0m 100+ 500M 600-", "down@350", latched},
    {"AClickDuringActivation", control, "0+ 100c 200- 9000.", "", idle},
    {"AClickDuringTheHold", control, "0+ 500c 600- 9000.", "down@250 interference@500", idle},
    {"AClickDuringTheHoldOfFn", fn, "0+ 500c 600- 9000.", "down@325 interference@500", idle},
    {"AClickInTheWindowOfATapIsFree", control, "0+ 100- 900c 9000.", "down@200 up@1600", idle},
    {"ClicksAreFreeWhileLocked", control, "0+ 300- 1000c 2000+ 2050c 2100- 9000.", "down@250", latched},
    {"TheOtherAltDoesNotSpoilTheLeftOne", left, "0+ 500o 600O 1000-", "down@250", latched},
    {"SuperSpoilsTheRightAlt", right, "0+ 300m", "down@250 interference@300", idle},
    {"TheOtherAltIsNotTheKey", left, "0o 1000O", "", idle},
    {"LeftCtrlIsNotTheRightOne", ModifierKey::rightControl, "0o 1000O", "", idle},
    {"LeftCtrlDoesNotSpoilTheRightOne", ModifierKey::rightControl, "0+ 500o 600O 3000-", "down@250 up@3000", idle},
    {"LeftShiftIsNotTheRightOne", ModifierKey::rightShift, "0o 1000O", "", idle},
    {"AKeySpoilsShift", ModifierKey::leftShift, "0+ 100k 150- 9000.", "", idle},
    {"AltSpoilsSuper", ModifierKey::leftSuper, "0+ 300m", "down@250 interference@300", idle},
    {"PauseIsHeld", ModifierKey::pause, "0+ 3000-", "down@250 up@3000", idle},
    {"SuperSpoilsMenu", ModifierKey::menu, "0+ 300m", "down@250 interference@300", idle},
    {"AChordOfTheKeyIsNoneOfOurs", control, "0+ 80m 150k 220M 3000- 9000.", "", idle},
    {"AfterAChordTheKeyCountsOnceItWasLetGo", control, "0+ 100m 150k 300M 900- 1000+ 3000-", "down@1250 up@3000", idle},
    {"AnInterferenceWithoutTheKeyHeldDoesNotCostTheNextPress", control, "0+ 100- 900k 1000+ 3000-",
     "down@200 interference@900 down@1250 up@3000", idle},
    {"AfterAnInterferenceFnHasToBeLetGoToo", fn, "0+ 500m 600M 2000- 2200+ 4500- 9000.",
     "down@325 interference@500 down@2525 up@4575", idle},
    {"FnLetGoJustBeforeAKeyCountsAsLetGo", fn, "0+ 1000- 1030k 2000+ 4500- 9000.",
     "down@325 interference@1030 down@2325 up@4575", idle},

    {"FnFlickersDuringTheHold", fn, "0+ 1000- 1074+ 2000- 9000.", "down@325 up@2075", idle},
    {"FnLetGoFor75msIsAReleaseAndLocks", fn, "0+ 1000- 1075+ 9000.", "down@325", latched},
    {"FnFlickerFromIdle", fn, "0+ 74- 9000.", "", idle},
    {"FnTapsOfTheLatchAreSeenAtOnce", fn, "0+ 500- 2000+ 2010- 2020+ 2030- 9000.", "down@325 up@2030", idle},

    {"DoublePressOffHold", control, "0d 0+ 300- 9000.", "down@250 up@300", idle},
    {"DoublePressOffQuickTap", control, "0d 0+ 200- 9000.", "", idle},

    {"SuspensionDuringActivationDropsTheTimer", control, "0+ 100s 9000.", "", waiting},
    {"PressAfterSuspensionCountsAndItsReleaseEnds", control, "0+ 500s 600- 700r 3000+ 3100-", "down@250 up@3100", idle},
    {"SuspensionInTheWindowOfATapKeepsTheDelayedStart", control, "0+ 100- 150s 9000.", "down@200", active},
    {"SuspensionWhileLockedKeepsTheLock", control, "0+ 300- 400s 500r 2000+ 2100- 2200+ 2300-", "down@250 up@2300",
     idle},
    {"APressDuringASuspensionCountsFromItsEnd", control, "0s 100+ 300r 3000-", "down@550 up@3000", idle},
    {"AHoldGoesOnThroughASuspension", control, "0+ 500s 700r 3000-", "down@250 up@3000", idle},
    {"SuspensionForgetsFn", fn, "0+ 50s 60r 9000.", "", idle},

    {"ResetDuringActivationDoesNothing", control, "0+ 100i 400.", "down@250", active},
    {"ResetWhileLockedMakesTheNextPressAStart", control, "0+ 300- 400i 500+ 3000-", "down@250 down@750 up@3000", idle},
    {"ResetJustAfterFnWasLetGo", fn, "0+ 1000- 1030i 2000+ 4500- 9000.", "down@325 down@2325 up@4575", idle},

    {"StopEndsASuspension", control, "0s 10z 20a 100+ 2500-", "down@350 up@2500", idle},
    {"StartForgetsTheGesture", control, "0+ 300- 400a 500+ 3000-", "down@250 down@750 up@3000", idle},
};

INSTANTIATE_TEST_SUITE_P(All, BareModifierGestures, testing::ValuesIn(gestures),
                         [](const auto& test) { return test.param.name; });

TEST(BareModifierKeyMonitorTest, LeavesBreadcrumbsWithTheUsersLeaveOnly) {
  Desk desk;
  desk.play("0+ 100- 400+ 500-");
  ASSERT_EQ(desk.reporting.breadcrumbs.size(), 2u);
  desk.reporting.isOn = false;
  desk.play("2000+ 2100- 2200+ 2300-");
  EXPECT_EQ(desk.reporting.breadcrumbs.size(), 2u);
}

TEST(BareModifierKeyMonitorTest, OwnKeystrokesThatArriveLateAreStillThoseOfTheSuspension) {
  Desk desk;
  desk.play("0+ 300- 400s");
  ASSERT_EQ(desk.monitor.state(), MonitorState::latchActive);
  desk.keyboard.onTheirWay = {{ModifierEvent::Kind::flagsChanged, modifierFlags::control},
                              {ModifierEvent::Kind::keyDown, modifierFlags::control},
                              {ModifierEvent::Kind::flagsChanged, 0}};
  desk.play("2000r 9000.");
  EXPECT_TRUE(desk.keyboard.onTheirWay.empty());
  EXPECT_EQ(desk.monitor.state(), MonitorState::latchActive);
  EXPECT_EQ(desk.signalled, QStringList{"down@250"});
}

TEST(BareModifierKeyMonitorTest, AHandlerMayResetOrStopTheMonitor) {
  Desk desk;
  desk.monitor.setOnModifierDown([&] { desk.monitor.resetToIdle(); });
  desk.play("0+ 300.");
  EXPECT_EQ(desk.monitor.state(), MonitorState::idle);
  desk.monitor.setOnModifierDown([&] { desk.monitor.stop(); });
  desk.play("400- 500+ 900- 9000.");
  EXPECT_FALSE(desk.monitor.isMonitoring());
  EXPECT_EQ(desk.executor.timerCount(), 0u);
}

TEST(BareModifierKeyMonitorTest, LeavesNothingBehind) {
  ManualExecutor executor;
  FakeKeyEventMonitor keyboard;
  {
    BareModifierKeyMonitor monitor(keyboard, executor, nullptr, Logging());
    monitor.start(ModifierKey::fn);
    keyboard.setFlags(modifierFlags::function);
    EXPECT_EQ(executor.timerCount(), 1u);
  }
  EXPECT_FALSE(keyboard.isRunning());
  EXPECT_EQ(executor.timerCount(), 0u);
}

}  // namespace
}  // namespace quillmere
