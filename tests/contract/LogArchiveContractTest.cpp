#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include "contract/Sides.h"
#include "platform/linux/JsonLinesArchive.h"
#include "support/FakeLogArchive.h"

namespace quillmere {
namespace {

struct FakeSide {
  void write(const QDateTime& time, const QString& message) { archive.write(time, message); }
  FakeLogArchive archive;
};

struct JsonSide {
  void write(const QDateTime& time, const QString& message) {
    QFile file(folder.filePath("quillmere.log"));
    ASSERT_TRUE(file.open(QIODevice::Append));
    const QJsonObject record{{"time", time.toString(Qt::ISODateWithMs)}, {"message", message}};
    file.write(QJsonDocument(record).toJson(QJsonDocument::Compact) + '\n');
  }
  QTemporaryDir folder;
  JsonLinesArchive archive{folder.path()};
};

template <typename Side>
class LogArchiveContract : public testing::Test, public Side {
 protected:
  static QDateTime minute(int number) { return QDateTime(QDate(2024, 5, 1), QTime(12, number), Qt::UTC); }
  // The messages only, joined with blanks.
  QString messages(int sinceMinute, int maxLines) {
    const auto lines = this->archive.recentLines(minute(sinceMinute), maxLines);
    if (!lines) return "failed";
    QStringList ends;
    for (const QString& each : *lines) ends += each.section(u' ', -1);
    return ends.join(u' ');
  }
};
using Sides = testing::Types<FakeSide, JsonSide>;
TYPED_TEST_SUITE(LogArchiveContract, Sides, SideNames);

TYPED_TEST(LogArchiveContract, GivesTheLastLinesOldestFirst) {
  EXPECT_EQ(this->messages(0, 100), QString()) << "no log yet";
  for (const char* message : {"a", "b", "c", "d\ne", "f"}) this->write(this->minute(message[0] - 'a'), message);
  const struct {
    int since, maxLines;
    const char* messages;
  } cases[] = {{0, 100, "a b c d e f"}, {0, 3, "d e f"}, {0, 2, "e f"}, {2, 100, "c d e f"}, {6, 100, ""}, {0, 0, ""}};
  for (const auto& one : cases)
    EXPECT_EQ(this->messages(one.since, one.maxLines), one.messages) << one.since << ' ' << one.maxLines;
}

}  // namespace
}  // namespace quillmere
