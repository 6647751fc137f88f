#include "platform/linux/JsonLinesLog.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <set>
#include <thread>

#include "platform/linux/JsonLinesArchive.h"

namespace quillmere {
namespace {

class JsonLinesLogTest : public ::testing::Test {
 protected:
  QString folder() const { return home.path() + "/state/quillmere/logs"; }
  QString file(int age = 0) const {
    return folder() + (age ? QString("/quillmere.%1.log").arg(age) : "/quillmere.log");
  }
  JsonLinesLog::Options options() const { return {.folder = folder(), .processName = "quillmere"}; }
  Logger logger(JsonLinesLog::Options with) const {
    return Logger(std::make_shared<JsonLinesLog>(std::move(with)), "audio");
  }
  static QList<QByteArray> linesOf(const QString& path) {
    QFile in(path);
    if (!in.open(QIODevice::ReadOnly)) return {};
    QList<QByteArray> lines = in.readAll().split('\n');
    if (lines.last().isEmpty()) lines.removeLast();
    return lines;
  }
  QList<QJsonObject> records(int age = 0) const {
    QList<QJsonObject> all;
    for (const QByteArray& line : linesOf(file(age))) all += QJsonDocument::fromJson(line).object();
    return all;
  }
  QString message(int age, qsizetype line) const { return records(age).value(line).value(u"message").toString(); }
  static unsigned mode(const QString& path) {
    struct stat status {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777u : 0;
  }

  QTemporaryDir home;
};

TEST_F(JsonLinesLogTest, ALineHasItsFieldsAndHidesPrivateValues) {
  const QDateTime before = QDateTime::currentDateTimeUtc().addMSecs(-1);
  logger(options()).debug("below the threshold");
  logger(options()).error("%{public}s said %s (%ld)\n\"quoted\" 🎙️ %{private}d", "ada", "my secret", 3L, 4);
  ASSERT_EQ(records().size(), 1);
  const QJsonObject record = records()[0];
  EXPECT_EQ(record.value(u"message").toString(), QString::fromUtf8("ada said <private> (3)\n\"quoted\" 🎙️ <private>"));
  EXPECT_EQ(record.value(u"level").toString(), "error");
  EXPECT_EQ(record.value(u"subsystem").toString(), "com.quillmere.app");
  EXPECT_EQ(record.value(u"category").toString(), "audio");
  EXPECT_EQ(record.value(u"process").toString(), "quillmere");
  EXPECT_EQ(record.value(u"pid").toInteger(), ::getpid());
  EXPECT_GT(record.value(u"thread").toInteger(), 0);
  const QString time = record.value(u"time").toString();
  EXPECT_TRUE(QRegularExpression("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z$").match(time).hasMatch())
      << time.toStdString();
  EXPECT_GE(QDateTime::fromString(time, Qt::ISODateWithMs), before);
}

TEST_F(JsonLinesLogTest, NothingIsTouchedBeforeTheFirstLineAndOnlyTheUserMayReadIt) {
  const Logger log = logger(options());
  EXPECT_FALSE(QDir(folder()).exists());
  log.info("x");
  EXPECT_EQ(mode(file()), 0600u);
  EXPECT_EQ(mode(folder()), 0700u);
  EXPECT_EQ(mode(home.path() + "/state"), 0700u);
}

TEST_F(JsonLinesLogTest, ASizeLimitRotatesAndKeepsTheNewestFiles) {
  JsonLinesLog::Options with = options();
  with.maxFileBytes = 1000;
  with.maxFiles = 3;
  const Logger log = logger(with);
  for (int i = 0; i < 40; ++i) log.info("line %d", i);
  EXPECT_FALSE(QFile::exists(file(3)));
  QList<QJsonObject> kept = records(2) + records(1) + records(0);
  ASSERT_GT(kept.size(), 8);
  for (qsizetype i = 0; i < kept.size(); ++i)
    EXPECT_EQ(kept[i].value(u"message").toString(), QString("line %1").arg(40 - kept.size() + i));
  for (int age = 0; age < 3; ++age) EXPECT_LE(QFile(file(age)).size(), 1000) << age;
}

TEST_F(JsonLinesLogTest, ALineLongerThanAFileIsCutAndStillOneRecord) {
  JsonLinesLog::Options with = options();
  with.maxFileBytes = 1000;
  const Logger log = logger(with);
  log.info("%{public}s", QString(100'000, u'x'));
  log.info("next");
  EXPECT_LT(message(1, 0).size(), 20'000);
  EXPECT_EQ(records(1).size(), 1);
  EXPECT_EQ(records(0).size(), 1);
}

TEST_F(JsonLinesLogTest, SeveralThreadsAndProcessesRotatingAtOnceLoseNothing) {
  constexpr int processes = 3, threads = 2, each = 300;
  JsonLinesLog::Options with = options();
  with.maxFileBytes = 4000;  // some seventy rotations
  with.maxFiles = 500;
  std::vector<pid_t> children;
  for (int process = 0; process < processes; ++process) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      {
        const Logger log = logger(with);
        std::vector<std::jthread> running;
        for (int thread = 0; thread < threads; ++thread)
          running.emplace_back([&log, process, thread] {
            for (int i = 0; i < each; ++i) log.info("%d-%d-%d", process, thread, i);
          });
      }
      ::_exit(0);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);
  }
  std::set<QString> seen;
  int files = 0, lines = 0;
  for (; QFile::exists(file(files)); ++files) {
    for (const QJsonObject& record : records(files)) {
      seen.insert(record.value(u"message").toString());
      ++lines;
    }
  }
  EXPECT_GT(files, 1);  // how many depends on who had the lock when a file was full
  EXPECT_EQ(lines, processes * threads * each);
  EXPECT_EQ(int(seen.size()), processes * threads * each);
}

TEST_F(JsonLinesLogTest, AFileTakenAwayMeanwhileComesBack) {
  const Logger log = logger(options());
  log.info("one");
  ASSERT_TRUE(QDir(folder()).removeRecursively());
  log.info("two");
  EXPECT_EQ(message(0, 0), "two");
}

TEST_F(JsonLinesLogTest, AFolderThatCannotBeWrittenIsSaidOnceAndNeverStopsAnything) {
  // A file where the folder should be fails for every user, root included.
  ASSERT_TRUE(QFile(home.path() + "/state").open(QIODevice::WriteOnly));
  QStringList reasons;
  JsonLinesLog::Options with = options();
  with.onFailure = [&](const QString& reason) { reasons += reason; };
  const Logger log = logger(with);
  for (int i = 0; i < 3; ++i) log.error("x");
  ASSERT_EQ(reasons.size(), 1);
  EXPECT_TRUE(reasons[0].contains(file())) << reasons[0].toStdString();
}

class JsonLinesArchiveTest : public JsonLinesLogTest {
 protected:
  static QByteArray line(const char* time, const QString& message) {
    const QJsonObject record{{"time", QString("2024-05-01T12:%1.000Z").arg(time)}, {"message", message}};
    return QJsonDocument(record).toJson(QJsonDocument::Compact) + '\n';
  }
  void put(int age, const QByteArray& content) {
    ASSERT_TRUE(QDir().mkpath(folder()));
    QFile out(file(age));
    ASSERT_TRUE(out.open(QIODevice::WriteOnly));
    out.write(content);
  }
  // The messages only, joined with blanks.
  QString messages(int sinceMinute, int maxLines) {
    const auto lines =
        JsonLinesArchive(folder()).recentLines(QDateTime(QDate(2024, 5, 1), QTime(12, sinceMinute), Qt::UTC), maxLines);
    if (!lines) return "failed";
    QStringList ends;
    for (const QString& each : *lines) ends += each.section(u' ', -1);
    return ends.join(u' ');
  }
};

TEST_F(JsonLinesArchiveTest, ReadsAcrossFilesAndPassesOverTornLines) {
  put(1, line("01:00", "a") + line("02:00", "b"));
  put(0, line("03:00", "c"));
  EXPECT_EQ(messages(0, 100), "a b c");
  EXPECT_EQ(messages(2, 100), "b c");
  put(0, line("01:00", "a") + "{\"time\":\"2024-05-01T12:0\n\n" + line("03:01", "late") + line("02:59", "disorder") +
             line("04:00", "x\ny") + "{\"half");
  EXPECT_EQ(messages(2, 100), "late disorder x y");
  EXPECT_EQ(messages(3, 100), "late x y");
}

TEST_F(JsonLinesArchiveTest, AnUnreadableLogIsAFailure) {
  ASSERT_TRUE(QDir().mkpath(file()));  // a folder in the file's place
  EXPECT_EQ(messages(0, 10), "failed");
}

}  // namespace
}  // namespace quillmere
