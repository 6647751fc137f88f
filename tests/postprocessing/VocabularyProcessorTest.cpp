#include "postprocessing/VocabularyProcessor.h"

#include "storage/PersistenceController.h"
#include "support/RecordingLogSink.h"

namespace quillmere {
namespace {

TEST(VocabularyProcessorTest, ReadsTheStoreAfreshEachTime) {
  const FixedClock clock(QDateTime::fromString("2024-05-01T10:00:00Z", Qt::ISODate));
  const auto sink = std::make_shared<RecordingLogSink>();
  const Logging logging(sink);
  auto opened = PersistenceController::open(PersistenceController::inMemory(), clock, logging);
  ASSERT_TRUE(opened.hasValue());
  PersistenceController& store = **opened;
  const VocabularyProcessor processor(store, logging);
  EXPECT_EQ(processor.apply(" quill and ink "), "quill and ink");
  ASSERT_TRUE(store.addVocabularyItem("quill", QStringLiteral("Quillmere")));
  ASSERT_TRUE(store.addVocabularyItem("ink", std::nullopt));
  EXPECT_EQ(processor.apply("QUILL and ink"), "Quillmere and ink");
  const auto records = sink->records();
  const auto isOurs = [](const LogRecord& record) { return record.category == "TextProcessing"; };
  EXPECT_EQ(std::count_if(records.begin(), records.end(), isOurs), 1);
}

}  // namespace
}  // namespace quillmere
