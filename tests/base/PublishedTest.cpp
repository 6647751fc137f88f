#include "base/Published.h"

using namespace quillmere;

namespace {

TEST(PublishedTest, AValueSetByAnObserverReachesEveryObserverInOrder) {
  Published<int> value(0);
  std::vector<int> first, second;
  const auto a = value.observe([&](int now) {
    first.push_back(now);
    if (now < 3) value.set(now + 1);
    EXPECT_EQ(value.get(), now) << "the new value waits its turn";
  });
  const auto b = value.observe([&](int now) { second.push_back(now); });
  value.set(1);
  EXPECT_EQ(first, (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(second, first);
  value.set(3);
  EXPECT_EQ(second.size(), 3u) << "an equal value is no change";
}

TEST(PublishedTest, AnObserverMayEndItsOwnAndLaterSubscriptionsWhileItRuns) {
  Published<int> value(0);
  Subscription own, next;
  const auto text = std::make_shared<QString>("still here");
  QString read;
  own = value.observe([&own, &next, &read, text](int) {
    own.reset();
    next.reset();
    read = *text;
  });
  next = value.observe([&read](int) { read = "called after its end"; });
  value.set(1);
  value.set(2);
  EXPECT_EQ(read, "still here");
  EXPECT_EQ(text.use_count(), 1) << "and what it holds is let go";
}

TEST(PublishedTest, AnObserverMayDestroyTheOwner) {
  auto value = std::make_unique<Published<QString>>("a");
  QStringList seen;
  const auto first = value->observe([&](const QString& now) {
    if (now == "b") {
      value->set("c");
      value.reset();
    }
    seen.append(QStringLiteral("1") + now);
  });
  const auto second = value->observe([&](const QString& now) { seen.append(QStringLiteral("2") + now); });
  value->set("b");
  EXPECT_EQ(seen, (QStringList{"1b", "2b", "1c", "2c"}));
}

TEST(PublishedTest, SubscriptionsOutliveTheOwnerAndEndOnce) {
  Subscription kept;
  {
    Published<int> value(0);
    kept = value.observe([](int) {});
  }
  kept.reset();
  int ends = 0;
  {
    Subscription first([&] { ++ends; });
    Subscription second = std::move(first);
    first = std::move(second);
    EXPECT_EQ(ends, 0);
    first = Subscription([&] { ends += 10; });
    EXPECT_EQ(ends, 1) << "assigning over a subscription ends it";
  }
  EXPECT_EQ(ends, 11);
}

TEST(PublishedTest, AnExceptionInAnObserverDoesNotBlockLaterValues) {
  Published<int> value(0);
  bool isBroken = true;
  int last = 0;
  const auto subscription = value.observe([&](int now) {
    if (isBroken) throw std::runtime_error("broken");
    last = now;
  });
  EXPECT_THROW(value.set(1), std::runtime_error);
  isBroken = false;
  value.set(2);
  EXPECT_EQ(last, 2);
}

}  // namespace
