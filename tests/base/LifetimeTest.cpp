#include "base/async/Lifetime.h"

#include <gtest/gtest.h>

#include "support/ManualExecutor.h"

namespace quillmere {
namespace {

// Posts, and is gone before, in the middle or after.
struct Owner {
  Owner(ManualExecutor& e, int& c) : executor(e), calls(c) {}
  void postTwice(const std::function<void()>& between) {
    lifetime.post(executor, [this, between] {
      ++calls;
      between();
    });
    lifetime.post(executor, [this] { ++calls; });
  }
  ManualExecutor& executor;
  int& calls;
  Lifetime lifetime;
};

TEST(Lifetime, NothingRunsOnceTheOwnerIsGone) {
  ManualExecutor executor;
  int calls = 0;
  auto owner = std::make_unique<Owner>(executor, calls);
  owner->postTwice([] {});
  EXPECT_EQ(calls, 0) << "in a later turn";
  executor.runReady();
  EXPECT_EQ(calls, 2);
  owner->postTwice([&] { owner.reset(); });
  executor.runReady();
  EXPECT_EQ(calls, 3) << "gone in the middle";
}

TEST(Lifetime, CallbacksOutliveTheOwner) {
  ManualExecutor executor;
  QString heard;
  auto lifetime = std::make_unique<Lifetime>();
  const std::function<void(const QString&)> guarded =
      lifetime->guard([&, owned = std::make_shared<int>(1)](const QString& text) { heard += text; });
  const std::function<void()> later = lifetime->later(executor, [&] { heard += QStringLiteral(" later"); });
  guarded(QStringLiteral("now"));
  later();
  EXPECT_EQ(heard, QStringLiteral("now"));
  executor.runReady();
  EXPECT_EQ(heard, QStringLiteral("now later"));
  later();
  const Lifetime::Watch watch = lifetime->watch();
  EXPECT_FALSE(watch.isOver());
  lifetime.reset();
  EXPECT_TRUE(watch.isOver());
  guarded(QStringLiteral(" too late"));
  later();
  executor.runReady();
  EXPECT_EQ(heard, QStringLiteral("now later"));
}

}  // namespace
}  // namespace quillmere
