#include "base/Result.h"

using namespace quillmere;

namespace {

struct Narrow {
  int code;
};
struct Wide {
  Wide(int number) : code(number) {}                // NOLINT
  Wide(Narrow narrow) : code(narrow.code + 100) {}  // NOLINT
  int code;
};

Result<std::unique_ptr<int>, QString> make(bool isGood) {
  if (!isGood) return Failed{QStringLiteral("no")};
  return std::make_unique<int>(4);
}

Result<void, Wide> check(int code) {
  if (code == 1) return Failed{Narrow{1}};
  if (code == 2) return Failed{2};
  return {};
}

TEST(Result, HoldsMoveOnlyValuesOrAnError) {
  EXPECT_EQ(**make(true), 4);
  std::unique_ptr<int> out = *make(true);
  EXPECT_EQ(*out, 4);
  EXPECT_EQ(make(false).error(), QStringLiteral("no"));
  EXPECT_EQ(*make(false).valueOr(std::make_unique<int>(9)), 9);
  EXPECT_EQ(*make(true).valueOr(std::make_unique<int>(9)), 4);
}

TEST(Result, ErrorsAreConvertedToTheErrorOfTheFunction) {
  EXPECT_TRUE(check(0));
  EXPECT_EQ(check(1).error().code, 101);
  EXPECT_EQ(check(2).error().code, 2);
}

TEST(Result, ValueAndErrorOfOneTypeAreToldApart) {
  const Result<QString, QString> good(QStringLiteral("x"));
  const Result<QString, QString> bad(Failed{QStringLiteral("x")});
  EXPECT_TRUE(good.hasValue());
  EXPECT_FALSE(bad.hasValue());
  const Result<bool, int> no(false);
  EXPECT_TRUE(no.hasValue()) << "a value of false is a value";
}

}  // namespace
