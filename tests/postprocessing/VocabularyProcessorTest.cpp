#include "postprocessing/VocabularyProcessor.h"

#include <gtest/gtest.h>

#include "storage/PersistenceController.h"

namespace quillmere {
namespace {

TEST(VocabularyProcessorTest, ReadsTheStoreAfreshEachTime) {
  const FixedClock clock(QDateTime::fromString("2024-05-01T10:00:00Z", Qt::ISODate));
  auto opened = PersistenceController::open(PersistenceController::inMemory(), clock, {});
  ASSERT_TRUE(opened.hasValue());
  PersistenceController& store = **opened;
  const VocabularyProcessor processor(store, {});
  EXPECT_EQ(processor.apply(" quill and ink "), "quill and ink");
  ASSERT_TRUE(store.addVocabularyItem("quill", QStringLiteral("Quillmere")));
  ASSERT_TRUE(store.addVocabularyItem("ink", std::nullopt));
  EXPECT_EQ(processor.apply("QUILL and ink"), "Quillmere and ink");
}

}  // namespace
}  // namespace quillmere
