#include <algorithm>
#include <cstdlib>

#include "base/Clock.h"
#include "storage/PersistenceController.h"
#include "support/RecordingLogSink.h"

namespace {

using namespace quillmere;

struct History {
  History() {
    for (const char* text : {"The quick brown fox", "jumps \"over\" the lazy dog", "100 % of_it \\ and *",
                             "Grüße, Ärger", "東京は 大きい", "AND OR NOT NEAR(a b)", ""}) {
      const TranscriptPtr row = store->createTranscript(1, "Letters", QString());
      row->text = QString::fromUtf8(text);
      row->transcribedText = row->text;
    }
    store->save();
    log->clear();
  }
  std::shared_ptr<RecordingLogSink> log = std::make_shared<RecordingLogSink>();
  FixedClock clock{QDateTime::fromSecsSinceEpoch(1'700'000'000)};
  std::unique_ptr<PersistenceController> store =
      std::move(PersistenceController::open(PersistenceController::inMemory(), clock, Logging(log))).value();
};

}  // namespace

// Any text as what a user searches the history for: the store always understands it, and the pages hold what was
// counted.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static History history;
  const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
  const qint64 count = history.store->countTranscripts(text);
  constexpr int limit = 4;
  const auto found = history.store->fetchTranscripts(limit, 0, text);
  if (qint64(found.size()) != std::min<qint64>(limit, count)) std::abort();
  if (!history.log->lines(LogLevel::error).isEmpty()) std::abort();
  history.log->clear();
  return 0;
}
