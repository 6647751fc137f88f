#include "base/async/Lifetime.h"

#include "support/ManualExecutor.h"

namespace quillmere {
namespace {

TEST(LifetimeTest, NothingRunsOnceTheOwnerIsGone) {
  ManualExecutor executor;
  QString heard;
  auto lifetime = std::make_unique<Lifetime>();
  const std::function<void(const QString&)> guarded =
      lifetime->guard([&, owned = std::make_shared<int>(1)](const QString& text) { heard += text; });
  const std::function<void()> later = lifetime->later(executor, [&] { heard += QStringLiteral(" later"); });
  const Lifetime::Watch watch = lifetime->watch();
  guarded(QStringLiteral("now"));
  later();
  EXPECT_EQ(heard, QStringLiteral("now"));
  lifetime->post(executor, [&] {
    heard += QStringLiteral(" last");
    EXPECT_FALSE(watch.isOver());
    lifetime.reset();
  });
  later();
  lifetime->post(executor, [&] { heard += QStringLiteral(" too late"); });
  executor.runReady();
  EXPECT_TRUE(watch.isOver());
  guarded(QStringLiteral(" too late"));
  later();
  executor.runReady();
  EXPECT_EQ(heard, QStringLiteral("now later last"));
}

}  // namespace
}  // namespace quillmere
