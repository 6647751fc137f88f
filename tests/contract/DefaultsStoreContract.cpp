#include <QJsonDocument>
#include <QTemporaryDir>

#include "platform/qt/QtDefaultsStore.h"
#include "support/FakeDefaultsStore.h"

namespace quillmere {
namespace {

// What every defaults store promises.
template <typename Store>
class DefaultsStoreContract : public testing::Test {
 public:
  QTemporaryDir folder;
  std::unique_ptr<Store> store = make();

  std::unique_ptr<Store> make() {
    if constexpr (std::is_same_v<Store, FakeDefaultsStore>)
      return std::make_unique<FakeDefaultsStore>();
    else
      return std::make_unique<Store>(folder.filePath("config/quillmere.conf"));
  }
  // What another run of the program reads.
  void reopen() {
    if constexpr (!std::is_same_v<Store, FakeDefaultsStore>) store = make();
  }
};

using Stores = testing::Types<FakeDefaultsStore, QtDefaultsStore>;
TYPED_TEST_SUITE(DefaultsStoreContract, Stores);

TYPED_TEST(DefaultsStoreContract, ValuesComeBackWithTheirType) {
  const std::pair<const char*, QVariant> values[] = {{"true", true},
                                                     {"false", false},
                                                     {"zero", 0},
                                                     {"negative", -42},
                                                     {"big", 5'000'000'000LL},
                                                     {"whole", 10.0},
                                                     {"fraction", 0.1},
                                                     {"tiny", 1e-300},
                                                     {"huge", 1e300},
                                                     {"empty", ""},
                                                     {"text", "base.en"},
                                                     {"looksTrue", "true"},
                                                     {"looksInt", "007"},
                                                     {"looksDouble", "1e5"},
                                                     {"looksNegative", "-1"},
                                                     {"looksJson", "json:{}"},
                                                     {"blank", " a "},
                                                     {"comma", "a, b;c"},
                                                     {"quote", "say \"hi\" \\ there"},
                                                     {"line", "a\nb\tc"},
                                                     {"at", "@ByteArray(x)"},
                                                     {"percent", "%41[section]=#;"},
                                                     {"unicode", "Größe 会议 🙂"},
                                                     {"list", "[\"/a\",\"/b\"]"},
                                                     {"json", QByteArray(R"({"a":"base","ü":[1,2.5,null]})")},
                                                     {"bytes", QByteArray("\0\xff\n\"", 4)},
                                                     {"noBytes", QByteArray("")},
                                                     {"map", QVariantMap{{"tiny", "Klein"}, {"b.c/d", "x, y"}}},
                                                     {"noMap", QVariantMap()}};
  for (const auto& [key, value] : values) EXPECT_TRUE(this->store->setValue(key, value)) << key;
  for (int round = 0; round < 2; ++round) {
    for (const auto& [key, value] : values) {
      const QVariant read = this->store->value(key);
      EXPECT_EQ(read.typeId(), value.typeId()) << key << " as " << read.typeName();
      EXPECT_EQ(read, value) << key;
    }
    EXPECT_EQ(this->store->keys().size(), static_cast<qsizetype>(std::size(values)));
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
