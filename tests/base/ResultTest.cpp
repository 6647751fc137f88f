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

Result<void, Wide> check(int code) {
  if (code == 1) return Failed{Narrow{1}};
  if (code == 2) return Failed{2};
  return {};
}

TEST(ResultTest, ErrorsAreConvertedAndToldApartFromValuesOfTheirType) {
  EXPECT_TRUE(check(0));
  EXPECT_EQ(check(1).error().code, 101);
  EXPECT_EQ(check(2).error().code, 2);
  const Result<QString, QString> good(QString("x"));
  const Result<QString, QString> bad(Failed{QString("x")});
  EXPECT_TRUE(good.hasValue());
  EXPECT_FALSE(bad.hasValue());
  const Result<bool, int> no(false);
  EXPECT_TRUE(no.hasValue()) << "a value of false is a value";
}

}  // namespace
