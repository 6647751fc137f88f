#include "contract/Sides.h"
#include "platform/x11/X11Pasteboard.h"
#include "support/FakePasteboard.h"
#include "support/WaitUntil.h"
#include "support/XvfbServer.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

// A clipboard in memory, and a test that plays the other programs.
struct FakeSide : InLoop {
  FakePasteboard ours;
  FakeSide() { ours.isFetchedWhenExpected = false; }
  void copyElsewhere(const ClipboardItems& items) { ours.copyElsewhere(items); }
  QString pasteElsewhere() {
    ours.fetch();
    return ours.plainText().value_or(QString());
  }
  void selectElsewhere(const QString& text) { ours.selectElsewhere(text); }
  std::optional<QString> selectionElsewhere() { return ours.selection; }
};

// Two clients of a real server.
struct X11Side : InLoop {
  XvfbServer server;
  std::unique_ptr<X11Pasteboard> theirs = *X11Pasteboard::open(executor, server.displayName());
  std::unique_ptr<X11Pasteboard> oursOwner = *X11Pasteboard::open(executor, server.displayName());
  X11Pasteboard& ours = *oursOwner;
  void copyElsewhere(const ClipboardItems& items) {
    EXPECT_TRUE(theirs->write(items));
    // Our side hears of it a moment later.
    while (ours.ownsContents()) run(sleepFor(1ms));
    this->run(ours.items());
  }
  QString pasteElsewhere() { return run(theirs->string()).value_or(QString()); }
  void selectElsewhere(const QString& text) { EXPECT_TRUE(theirs->writeSelection(text)); }
  std::optional<QString> selectionElsewhere() { return run(theirs->selectionString()); }
};

template <typename Side>
class PasteboardContract : public testing::Test, public Side {
 protected:
  static ClipboardItems imageItems() {
    ClipboardItemData item;
    item.types = {"image/png", "text/html", "UTF8_STRING"};
    item.data = {{"image/png", QByteArray("\0\x89\xff", 3)}, {"text/html", "<i>ü</i>"}, {"UTF8_STRING", "ü"}};
    return {item};
  }
  bool waitForFetch(Duration limit) { return this->run(this->ours.waitForFetch(limit)); }
  ClipboardItems items() { return this->run(this->ours.items()); }
};
using Sides = testing::Types<FakeSide, X11Side>;
TYPED_TEST_SUITE(PasteboardContract, Sides, SideNames);

TYPED_TEST(PasteboardContract, ItemsComeAndGoWhole) {
  auto& ours = this->ours;
  EXPECT_EQ(this->items(), ClipboardItems{});
  this->copyElsewhere(this->imageItems());
  EXPECT_EQ(this->items(), this->imageItems());
  EXPECT_EQ(this->run(ours.string()), "ü");
  ASSERT_TRUE(ours.writeText("words", true));
  EXPECT_EQ(this->pasteElsewhere(), "words");
  ASSERT_TRUE(ours.write(this->imageItems()));
  EXPECT_EQ(this->items(), this->imageItems());
  ASSERT_TRUE(ours.write({}));
  EXPECT_EQ(this->items(), ClipboardItems{});
}

TYPED_TEST(PasteboardContract, OwnershipAndChangesAreTold) {
  auto& ours = this->ours;
  EXPECT_FALSE(ours.ownsContents());
  quint64 before = ours.changeCount();
  const auto hasGrown = [&] { return std::exchange(before, ours.changeCount()) < ours.changeCount(); };
  ASSERT_TRUE(ours.writeText("words", true));
  EXPECT_TRUE(ours.ownsContents());
  EXPECT_TRUE(hasGrown());
  ASSERT_TRUE(ours.writeText("words", true));
  EXPECT_TRUE(hasGrown());
  this->items();
  EXPECT_FALSE(hasGrown());
  this->copyElsewhere(this->imageItems());
  EXPECT_FALSE(ours.ownsContents());
  EXPECT_TRUE(hasGrown());
}

TYPED_TEST(PasteboardContract, OnlyAFetchAfterTheKeystrokeCounts) {
  auto& ours = this->ours;
  ASSERT_TRUE(ours.writeText("words", true));
  ours.expectFetch();
  EXPECT_FALSE(ours.wasFetched());
  EXPECT_FALSE(this->waitForFetch(20ms));
  EXPECT_EQ(this->pasteElsewhere(), "words");
  EXPECT_TRUE(this->waitForFetch(10s));
  EXPECT_TRUE(ours.wasFetched());
  ours.expectFetch();
  EXPECT_FALSE(ours.wasFetched());
  ASSERT_TRUE(ours.writeText("more", true));
  EXPECT_FALSE(ours.wasFetched());
  ours.expectFetch();
  TaskScope scope(this->executor);
  auto waiting = scope.spawn(ours.waitForFetch(1h));
  this->run(yieldNow());
  this->copyElsewhere(this->imageItems());
  EXPECT_FALSE(this->run(waiting.join())) << "nobody will fetch it any more";
}

TYPED_TEST(PasteboardContract, TheSelectionIsAnotherClipboard) {
  auto& ours = this->ours;
  EXPECT_EQ(this->run(ours.selectionString()), std::nullopt);
  ASSERT_TRUE(ours.writeText("copied", true));
  ASSERT_TRUE(ours.writeSelection("marked"));
  EXPECT_TRUE(ours.ownsSelection());
  EXPECT_EQ(this->selectionElsewhere(), "marked");
  EXPECT_EQ(this->run(ours.string()), "copied");
  this->selectElsewhere("theirs");
  EXPECT_EQ(this->run(ours.selectionString()), "theirs");
  EXPECT_TRUE(waitUntil([&] { return !ours.ownsSelection(); }));
  ASSERT_TRUE(ours.writeSelection("marked"));
  ASSERT_TRUE(ours.writeSelection(std::nullopt));
  EXPECT_FALSE(ours.ownsSelection());
  EXPECT_EQ(this->run(ours.selectionString()), std::nullopt);
}

}  // namespace
}  // namespace quillmere
