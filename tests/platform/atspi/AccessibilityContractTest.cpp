#include "contract/Sides.h"
#include "platform/atspi/AtspiDesk.h"
#include "support/FakeAccessibility.h"
#include "support/WaitUntil.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

// On each side a window "Writing" with a field that has the keyboard and holds "Hello".
struct FakeSide : InLoop {
  FakeSide() {
    const auto field = node("AXTextField")->with("AXValue", "Hello")->settable("AXValue");
    fake.addApplication(processId, node("AXWindow")->with("AXTitle", "Writing")->child(field));
    fake.focus(field);
  }
  Accessibility& port() { return fake; }
  void hang() { fake.hangs = true; }
  void endTime() { fake.tree.readsUntilOutOfTime = fake.tree.reads; }
  const qint64 processId = 4711;
  FakeAccessibility fake;
};

struct AtspiSide : AtspiDesk {
  AtspiSide() { waitForWindow("Writing"); }
  ~AtspiSide() { *isBusy = false; }
  Accessibility& port() { return *accessibility; }
  // The thread is busy with another visit.
  void hang() {
    scope.spawn(accessibility->visit(
        [isBusy = isBusy](AccessibilityTree&) {
          while (*isBusy) continue;
        },
        60s));
  }
  void endTime() { std::this_thread::sleep_for(300ms); }
  DesktopProgram program{textTarget(), {"--window-title", "Writing", "--text", "Hello"}};
  const qint64 processId = program.processId();
  const std::shared_ptr<std::atomic<bool>> isBusy = std::make_shared<std::atomic<bool>>(true);
  TaskScope scope{executor};
};

template <typename Side>
class AccessibilityContract : public testing::Test, public Side {};
using Sides = testing::Types<FakeSide, AtspiSide>;
TYPED_TEST_SUITE(AccessibilityContract, Sides, SideNames);

TYPED_TEST(AccessibilityContract, AVisitReadsWhatIsThereAndNothingElse) {
  EXPECT_TRUE(this->port().isTrusted());
  const auto look = [&](AccessibilityTree& tree) {
    const auto focus = tree.element(tree.systemWideElement(), "AXFocusedUIElement");
    ASSERT_TRUE(focus);
    EXPECT_EQ(tree.text(focus, "AXRole"), "AXTextField");
    EXPECT_EQ(tree.text(focus, "AXValue"), "Hello");
    EXPECT_EQ(tree.text(focus, "AXNothing"), std::nullopt);
    EXPECT_TRUE(tree.isAttributeSettable(focus, "AXValue"));
    EXPECT_FALSE(tree.isAttributeSettable(focus, "AXRole"));
    EXPECT_FALSE(tree.performAction(focus, "AXNothing"));
    const auto application = tree.applicationElement(this->processId);
    const auto window = tree.element(application, "AXFocusedWindow");
    ASSERT_TRUE(window);
    EXPECT_EQ(tree.text(window, "AXTitle"), "Writing");
    EXPECT_EQ(tree.elements(application, "AXWindows", 1).size(), 1u);
    EXPECT_EQ(tree.elements(application, "AXWindows", 0).size(), 0u);
    // What isn't there gives nothing.
    EXPECT_EQ(tree.applicationElement(1), nullptr);
    EXPECT_EQ(tree.element(nullptr, "AXFocusedWindow"), nullptr);
    EXPECT_EQ(tree.text(nullptr, "AXTitle"), std::nullopt);
    EXPECT_TRUE(tree.elements(nullptr, "AXChildren", 9).empty());
  };
  EXPECT_TRUE(this->run(this->port().visit(look, 20s)));
}

TYPED_TEST(AccessibilityContract, AfterItsTimeAVisitReadsNothing) {
  const auto overstay = [&](AccessibilityTree& tree) {
    const auto focus = tree.element(tree.systemWideElement(), "AXFocusedUIElement");
    this->endTime();
    EXPECT_TRUE(tree.isOutOfTime());
    EXPECT_EQ(tree.text(focus, "AXValue"), std::nullopt);
    EXPECT_EQ(tree.element(tree.systemWideElement(), "AXFocusedWindow"), nullptr);
  };
  EXPECT_FALSE(this->run(this->port().visit(overstay, 250ms)));
}

TYPED_TEST(AccessibilityContract, ACancelReturnsAtOnceAndTheWorkIsLeftOut) {
  this->hang();
  bool wasCalled = false;
  {
    TaskScope scope(this->executor);
    auto visit = scope.spawn(this->port().visit([&](AccessibilityTree&) { wasCalled = true; }, 60s));
    this->executor.startTimer(50ms, [&] { visit.cancel(); });
    EXPECT_THROW(this->run(visit.join()), Cancelled);
  }
  EXPECT_FALSE(wasCalled);
}

}  // namespace
}  // namespace quillmere
