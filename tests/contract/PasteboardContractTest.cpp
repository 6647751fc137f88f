#include <gtest/gtest.h>

#include "platform/qt/QtExecutor.h"
#include "platform/x11/X11Pasteboard.h"
#include "support/FakePasteboard.h"
#include "support/RunTask.h"
#include "support/XvfbServer.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

// A clipboard in memory, and a test that plays the other programs.
struct FakeClipboard {
  QtExecutor executor;
  FakePasteboard ours;
  FakeClipboard() { ours.isFetchedWhenExpected = false; }
  bool isReady() const { return true; }
  void copyElsewhere(const ClipboardItems& items) { ours.copyElsewhere(items); }
  QString pasteElsewhere() {
    ours.fetch();
    return ours.plainText().value_or(QString());
  }
};

// Two clients of a real server.
struct RealClipboard {
  QtExecutor executor;
  QString reason;
  std::unique_ptr<XvfbServer> server = XvfbServer::start(reason);
  std::unique_ptr<X11Pasteboard> theirs = server ? *X11Pasteboard::open(executor, server->displayName()) : nullptr;
  std::unique_ptr<X11Pasteboard> oursOwner = server ? *X11Pasteboard::open(executor, server->displayName()) : nullptr;
  X11Pasteboard& ours = *oursOwner;
  bool isReady() const { return server != nullptr; }
  void copyElsewhere(const ClipboardItems& items) {
    EXPECT_TRUE(theirs->write(items));
    // Our side hears of it a moment later.
    while (ours.ownsContents()) runTaskInLoop(executor, sleepFor(1ms));
    runTaskInLoop(executor, ours.items());
  }
  QString pasteElsewhere() { return runTaskInLoop(executor, theirs->string()).value_or(QString()); }
};

template <typename Clipboard>
class PasteboardContract : public testing::Test {
 protected:
  void SetUp() override {
    if (!clipboard.isReady()) GTEST_SKIP() << "no X server";
  }
  static ClipboardItems imageItems() {
    ClipboardItemData item;
    item.types = {"image/png", "text/html", "UTF8_STRING"};
    item.data = {{"image/png", QByteArray("\0\x89\xff", 3)}, {"text/html", "<i>ü</i>"}, {"UTF8_STRING", "ü"}};
    return {item};
  }
  bool waitForFetch(Duration limit) { return runTaskInLoop(clipboard.executor, clipboard.ours.waitForFetch(limit)); }
  ClipboardItems items() { return runTaskInLoop(clipboard.executor, clipboard.ours.items()); }

  Clipboard clipboard;
};

using Clipboards = testing::Types<FakeClipboard, RealClipboard>;
TYPED_TEST_SUITE(PasteboardContract, Clipboards);

TYPED_TEST(PasteboardContract, ItemsComeAndGoWhole) {
  auto& ours = this->clipboard.ours;
  EXPECT_EQ(this->items(), ClipboardItems{});
  this->clipboard.copyElsewhere(this->imageItems());
  EXPECT_EQ(this->items(), this->imageItems());
  EXPECT_EQ(runTaskInLoop(this->clipboard.executor, ours.string()), "ü");
  ASSERT_TRUE(ours.writeText("words", true));
  EXPECT_EQ(this->clipboard.pasteElsewhere(), "words");
  ASSERT_TRUE(ours.write(this->imageItems()));
  EXPECT_EQ(this->items(), this->imageItems());
  ASSERT_TRUE(ours.write({}));
  EXPECT_EQ(this->items(), ClipboardItems{});
}

TYPED_TEST(PasteboardContract, OwnershipAndChangesAreTold) {
  auto& ours = this->clipboard.ours;
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
  this->clipboard.copyElsewhere(this->imageItems());
  EXPECT_FALSE(ours.ownsContents());
  EXPECT_TRUE(hasGrown());
}

TYPED_TEST(PasteboardContract, OnlyAFetchAfterTheKeystrokeCounts) {
  auto& ours = this->clipboard.ours;
  ASSERT_TRUE(ours.writeText("words", true));
  ours.expectFetch();
  EXPECT_FALSE(ours.wasFetched());
  EXPECT_FALSE(this->waitForFetch(20ms));
  EXPECT_EQ(this->clipboard.pasteElsewhere(), "words");
  EXPECT_TRUE(this->waitForFetch(10s));
  EXPECT_TRUE(ours.wasFetched());
  ours.expectFetch();
  EXPECT_FALSE(ours.wasFetched());
  ASSERT_TRUE(ours.writeText("more", true));
  EXPECT_FALSE(ours.wasFetched());
  this->clipboard.copyElsewhere(this->imageItems());
  EXPECT_FALSE(this->waitForFetch(10s));
}

TYPED_TEST(PasteboardContract, TheSelectionIsAnotherClipboard) {
  auto& ours = this->clipboard.ours;
  auto& executor = this->clipboard.executor;
  EXPECT_EQ(runTaskInLoop(executor, ours.selectionString()), std::nullopt);
  ASSERT_TRUE(ours.writeText("copied", true));
  ASSERT_TRUE(ours.writeSelection("marked"));
  EXPECT_TRUE(ours.ownsSelection());
  EXPECT_EQ(runTaskInLoop(executor, ours.selectionString()), "marked");
  EXPECT_EQ(runTaskInLoop(executor, ours.string()), "copied");
  ASSERT_TRUE(ours.writeSelection(std::nullopt));
  EXPECT_FALSE(ours.ownsSelection());
  EXPECT_EQ(runTaskInLoop(executor, ours.selectionString()), std::nullopt);
}

}  // namespace
}  // namespace quillmere
