#include <QTemporaryDir>

#include "contract/Sides.h"
#include "platform/qt/QtDefaultsStore.h"
#include "support/FakeDefaultsStore.h"

namespace quillmere {
namespace {

struct FakeSide {
  void reopen() {}
  std::unique_ptr<FakeDefaultsStore> store = std::make_unique<FakeDefaultsStore>();
};

struct QtSide {
  // What another run of the program reads.
  void reopen() { store = std::make_unique<QtDefaultsStore>(path); }
  QTemporaryDir folder;
  const QString path = folder.filePath("config/quillmere.conf");
  std::unique_ptr<QtDefaultsStore> store = std::make_unique<QtDefaultsStore>(path);
};

template <typename Side>
class DefaultsStoreContract : public testing::Test, public Side {};
using Sides = testing::Types<FakeSide, QtSide>;
TYPED_TEST_SUITE(DefaultsStoreContract, Sides, SideNames);

TYPED_TEST(DefaultsStoreContract, ValuesComeBackWithTheirType) {
  const QVariantList values = {true, false, 0, -42, 5'000'000'000LL, 10.0, 0.1, 1e-300, 1e300,
                               // Texts that look like something else.
                               "", "base.en", "true", "007", "1e5", "-1", "json:{}", " a ", "a, b;c",
                               "say \"hi\" \\ there", "a\nb\tc", "@ByteArray(x)", "%41[section]=#;", "Größe 会议 🙂",
                               "[\"/a\",\"/b\"]", QByteArray(R"({"a":"base","ü":[1,2.5,null]})"),
                               QByteArray("\0\xff\n\"", 4), QByteArray(""),
                               QVariantMap{{"tiny", "Klein"}, {"b.c/d", "x, y"}}, QVariantMap()};
  const auto key = [](qsizetype index) { return QString("key%1").arg(index); };
  for (qsizetype i = 0; i < values.size(); ++i) EXPECT_TRUE(this->store->setValue(key(i), values[i])) << i;
  for (int round = 0; round < 2; ++round) {
    for (qsizetype i = 0; i < values.size(); ++i) {
      const QVariant read = this->store->value(key(i));
      EXPECT_EQ(read.typeId(), values[i].typeId()) << i << " as " << read.typeName();
      EXPECT_EQ(read, values[i]) << i;
    }
    EXPECT_EQ(this->store->keys().size(), values.size());
    this->reopen();
  }
}

TYPED_TEST(DefaultsStoreContract, UnsetKeysAndRemoval) {
  EXPECT_FALSE(this->store->value("nothing").isValid());
  EXPECT_TRUE(this->store->remove("nothing"));
  this->store->setValue("a", 1);
  this->store->setValue("A", 2);  // another key
  EXPECT_TRUE(this->store->remove("a"));
  EXPECT_FALSE(this->store->value("a").isValid());
  this->reopen();
  EXPECT_EQ(this->store->keys(), QStringList{"A"});
}

TYPED_TEST(DefaultsStoreContract, ObserversHearEachChangeOnce) {
  QStringList heard, others;
  const int token =
      this->store->addObserver([&](const QString& key) { heard << key + '=' + this->store->value(key).toString(); });
  const int other = this->store->addObserver([&](const QString& key) { others << key; });
  this->store->setValue("a", 1);
  this->store->setValue("a", 1);
  this->store->setValue("a", "1");  // another type is another value
  this->store->remove("a");
  this->store->remove("a");
  this->store->removeObserver(token);
  this->store->setValue("b", 1);
  EXPECT_EQ(heard, QStringList({"a=1", "a=1", "a="}));
  EXPECT_EQ(others, QStringList({"a", "a", "a", "b"}));
  this->store->removeObserver(other);
}

TYPED_TEST(DefaultsStoreContract, AnObserverMayWriteAndEndOthers) {
  int calls = 0, second = 0;
  this->store->addObserver([&](const QString& key) {
    ++calls;
    this->store->removeObserver(second);
    if (key == "a") this->store->setValue("b", 2);
  });
  second = this->store->addObserver([&](const QString&) { FAIL() << "was ended"; });
  this->store->setValue("a", 1);
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(this->store->value("b"), 2);
}

}  // namespace
}  // namespace quillmere
