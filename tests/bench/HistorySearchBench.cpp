// How long a page of search results of a history of 50,000 transcripts takes, with the number of all results: the
// budget is 20 ms. `HistorySearchBench [ROWS]`
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <random>

#include "storage/PersistenceController.h"

using namespace quillmere;

namespace {

// Words whose frequencies fall like those of a language (Zipf), 60 a transcript.
class TextSource {
 public:
  TextSource() {
    std::vector<double> weights;
    for (int i = 0; i < 20'000; ++i) {
      weights.push_back(1.0 / (i + 1));
      words_ << makeWord(i);
    }
    pick_ = std::discrete_distribution<int>(weights.begin(), weights.end());
  }
  QString text() {
    QString result;
    for (int i = 0; i < 60; ++i) result += words_[pick_(random_)] + ' ';
    return result;
  }
  const QString& word(int rank) const { return words_[rank]; }

 private:
  static QString makeWord(int number) {
    static const char* const syllables[] = {"ba", "ke", "li", "mo", "nu", "ra", "se", "ti", "wo", "za", "hu", "fi"};
    QString word;
    for (int rest = number + 12; rest > 0; rest /= 12) word += syllables[rest % 12];
    return word;
  }

  std::mt19937 random_{7};
  std::discrete_distribution<int> pick_;
  QStringList words_;
};

}  // namespace

int main(int argc, char** argv) {
  const int rows = argc > 1 ? QString(argv[1]).toInt() : 50'000;
  QTemporaryDir folder;
  const FixedClock clock(QDateTime(QDate(2026, 1, 1), QTime(12, 0), Qt::UTC));
  auto opened = PersistenceController::open(folder.filePath("Quillmere.sqlite"), clock, Logging());
  if (!opened) {
    std::fprintf(stderr, "%s\n", qPrintable(opened.error().description));
    return 1;
  }
  PersistenceController& store = **opened;
  TextSource source;
  QElapsedTimer timer;
  timer.start();
  for (int i = 0; i < rows; ++i) {
    const TranscriptPtr transcript = store.insertTranscript();
    transcript->transcribedText = source.text();
    transcript->text = transcript->transcribedText;
    transcript->date = clock.now().addSecs((i * 7919LL) % rows);
    transcript->mode = "Default";
    transcript->status = "completed";
    if (i % 10 == 0) transcript->text = *transcript->text + "今天的会议很重要";
    if (i % 1000 == 0) transcript->text = *transcript->text + " Sonderwort";
    if (i % 5000 == 4999 && !store.save()) return 1;
  }
  store.save();
  std::printf("%d transcripts written in %lld ms\n", rows, timer.elapsed());

  const std::pair<const char*, QString> searches[] = {{"no search", ""},
                                                      {"in every row", source.word(0)},
                                                      {"in every mode name", "default"},
                                                      {"two frequent words", source.word(1) + ' ' + source.word(3)},
                                                      {"two letters", source.word(0).left(2)},
                                                      {"one letter", source.word(0).left(1)},
                                                      {"middling word", source.word(300)},
                                                      {"rare word", "sonderwort"},
                                                      {"phrase", '"' + source.word(0) + ' ' + source.word(1) + '"'},
                                                      {"piece of Chinese", "会议"},
                                                      {"inside a word", "onderwor"},
                                                      {"inside many words", "akelim"},
                                                      {"three letters inside", "emo"},
                                                      {"nowhere", "qqqqqqqq"},
                                                      {"two pieces", "onderwor emo"},
                                                      {"sign (newest)", "+"},
                                                      {"two letters nowhere", "qq"}};
  for (const auto& [name, search] : searches) {
    std::vector<double> times;
    qint64 count = 0;
    for (int round = 0; round < 15; ++round) {
      timer.start();
      count = store.fetchTranscriptPage(50, 0, search).totalCount;
      times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(times.begin(), times.end());
    std::printf("%-24s %8lld found  median %7.2f ms  worst %7.2f ms\n", name, static_cast<long long>(count),
                times[times.size() / 2], times.back());
  }
  return 0;
}
