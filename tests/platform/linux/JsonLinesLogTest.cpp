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
  QString folder() const { return home.path() + QStringLiteral("/state/quillmere/logs"); }
  QString file(int age = 0) const {
    return folder() + (age ? QStringLiteral("/quillmere.%1.log").arg(age) : QStringLiteral("/quillmere.log"));
  }
  JsonLinesLog::Options options() const { return {.folder = folder(), .processName = QStringLiteral("quillmere")}; }
  Logger logger(JsonLinesLog::Options with) const {
    return Logger(std::make_shared<JsonLinesLog>(std::move(with)), QStringLiteral("audio"));
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
  static unsigned mode(const QString& path) {
    struct stat status {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777u : 0;
  }

  QTemporaryDir home;
};

TEST_F(JsonLinesLogTest, ALineHasItsFieldsAndHidesPrivateValues) {
  const QDateTime before = QDateTime::currentDateTimeUtc().addMSecs(-1);
  logger(options()).error("%{public}s said %s (%ld)\n\"quoted\" 🎙️ %{private}d", "ada", "my secret", 3L, 4);
  ASSERT_EQ(records().size(), 1);
  const QJsonObject record = records()[0];
  EXPECT_EQ(record.value(u"message").toString(), QString::fromUtf8("ada said <private> (3)\n\"quoted\" 🎙️ <private>"));
  EXPECT_EQ(record.value(u"level").toString(), QStringLiteral("error"));
  EXPECT_EQ(record.value(u"subsystem").toString(), QStringLiteral("com.quillmere.app"));
  EXPECT_EQ(record.value(u"category").toString(), QStringLiteral("audio"));
  EXPECT_EQ(record.value(u"process").toString(), QStringLiteral("quillmere"));
  EXPECT_EQ(record.value(u"pid").toInteger(), ::getpid());
  EXPECT_GT(record.value(u"thread").toInteger(), 0);
  const QString time = record.value(u"time").toString();
  EXPECT_TRUE(QRegularExpression(QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z$"))
                  .match(time)
                  .hasMatch())
      << time.toStdString();
  EXPECT_GE(QDateTime::fromString(time, Qt::ISODateWithMs), before);
}

TEST_F(JsonLinesLogTest, EveryLevelKeepsItsNameAndTheThresholdHolds) {
  JsonLinesLog::Options all = options();
  all.minimumLevel = LogLevel::debug;
  for (const auto& [with, expected] : {std::pair{all, QStringLiteral("debug info notice warning error fault")},
                                       std::pair{options(), QStringLiteral("info notice warning error fault")}}) {
    QFile::remove(file());
    const Logger log = logger(with);
    log.debug("x");
    log.info("x");
    log.notice("x");
    log.warning("x");
    log.error("x");
    log.fault("x");
    QStringList levels;
    for (const QJsonObject& record : records()) levels += record.value(u"level").toString();
    EXPECT_EQ(levels.join(u' '), expected);
  }
}

TEST_F(JsonLinesLogTest, NothingIsTouchedBeforeTheFirstLineAndOnlyTheUserMayReadIt) {
  const Logger log = logger(options());
  EXPECT_FALSE(QDir(folder()).exists());
  log.info("x");
  EXPECT_EQ(mode(file()), 0600u);
  EXPECT_EQ(mode(folder()), 0700u);
  EXPECT_EQ(mode(home.path() + QStringLiteral("/state")), 0700u);
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
    EXPECT_EQ(kept[i].value(u"message").toString(), QStringLiteral("line %1").arg(40 - kept.size() + i));
  for (int age = 0; age < 3; ++age) EXPECT_LE(QFile(file(age)).size(), 1000) << age;
}

TEST_F(JsonLinesLogTest, ALineLongerThanAFileIsCutAndStillOneRecord) {
  JsonLinesLog::Options with = options();
  with.maxFileBytes = 1000;
  const Logger log = logger(with);
  log.info("%{public}s", QString(100'000, u'x'));
  log.info("next");
  ASSERT_EQ(records(1).size(), 1);
  EXPECT_LT(records(1)[0].value(u"message").toString().size(), 20'000);
  ASSERT_EQ(records(0).size(), 1);
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
  EXPECT_GT(files, 10);
  EXPECT_EQ(lines, processes * threads * each);
  EXPECT_EQ(int(seen.size()), processes * threads * each);
}

TEST_F(JsonLinesLogTest, AFileTakenAwayMeanwhileComesBack) {
  const Logger log = logger(options());
  log.info("one");
  ASSERT_TRUE(QDir(folder()).removeRecursively());
  log.info("two");
  ASSERT_EQ(records().size(), 1);
  EXPECT_EQ(records()[0].value(u"message").toString(), QStringLiteral("two"));
}

TEST_F(JsonLinesLogTest, AFolderThatCannotBeWrittenIsSaidOnceAndNeverStopsAnything) {
  // A file where the folder should be fails for every user, root included; so does a folder in the file's place.
  struct Case {
    const char* name;
    QString blocker;
    bool isFolder;
  };
  for (const Case& each : {Case{"file for a folder", home.path() + QStringLiteral("/state"), false},
                           Case{"folder for the file", file(), true}}) {
    QDir(home.path() + QStringLiteral("/state")).removeRecursively();
    QFile::remove(home.path() + QStringLiteral("/state"));
    if (each.isFolder) {
      ASSERT_TRUE(QDir().mkpath(each.blocker));
    } else {
      QFile blocker(each.blocker);
      ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    }
    QStringList reasons;
    JsonLinesLog::Options with = options();
    with.onFailure = [&](const QString& reason) { reasons += reason; };
    const Logger log = logger(with);
    for (int i = 0; i < 3; ++i) log.error("x");
    ASSERT_EQ(reasons.size(), 1) << each.name;
    EXPECT_TRUE(reasons[0].contains(file())) << reasons[0].toStdString();
  }
}

TEST_F(JsonLinesLogTest, AReadOnlyFolderIsNoFailureOfTheProgram) {
  ASSERT_TRUE(QDir().mkpath(folder()));
  constexpr uid_t nobody = 65534;
  for (const QString& path : {home.path(), home.path() + QStringLiteral("/state"),
                              home.path() + QStringLiteral("/state/quillmere"), folder()}) {
    ASSERT_EQ(::chmod(QFile::encodeName(path).constData(), path == folder() ? 0555 : 0755), 0);
  }
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    if (::geteuid() == 0 && ::setuid(nobody) != 0) ::_exit(2);  // root may write everywhere
    int failures = 0;
    JsonLinesLog::Options with = options();
    with.onFailure = [&](const QString&) { ++failures; };
    logger(with).error("x");
    ::_exit(failures == 1 ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_FALSE(QFile::exists(file()));
  ASSERT_EQ(::chmod(QFile::encodeName(folder()).constData(), 0700), 0);
}

class JsonLinesArchiveTest : public JsonLinesLogTest {
 protected:
  static constexpr auto noon = "2024-05-01T12:%1:%2.000Z";
  static QByteArray line(int minute, int second, const QString& message) {
    return QJsonDocument(
               QJsonObject{{QStringLiteral("time"),
                            QString::fromLatin1(noon).arg(minute, 2, 10, QChar(u'0')).arg(second, 2, 10, QChar(u'0'))},
                           {QStringLiteral("message"), message},
                           {QStringLiteral("level"), QStringLiteral("info")},
                           {QStringLiteral("process"), QStringLiteral("q")},
                           {QStringLiteral("pid"), 7},
                           {QStringLiteral("thread"), 8},
                           {QStringLiteral("subsystem"), QStringLiteral("com.quillmere.app")},
                           {QStringLiteral("category"), QStringLiteral("ui")}})
               .toJson(QJsonDocument::Compact) +
           '\n';
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
    if (!lines) return QStringLiteral("failed");
    QStringList ends;
    for (const QString& each : *lines) ends += each.section(u' ', -1);
    return ends.join(u' ');
  }
};

TEST_F(JsonLinesArchiveTest, GivesTheLastLinesAcrossFilesOldestFirst) {
  put(2, line(1, 0, QStringLiteral("a")) + line(2, 0, QStringLiteral("b")));
  put(1, line(3, 0, QStringLiteral("c")) + line(4, 0, QStringLiteral("d")));
  put(0, line(5, 0, QStringLiteral("e")) + line(6, 0, QStringLiteral("f")));
  EXPECT_EQ(messages(0, 100), QStringLiteral("a b c d e f"));
  EXPECT_EQ(messages(0, 3), QStringLiteral("d e f"));
  EXPECT_EQ(messages(4, 100), QStringLiteral("d e f"));
  EXPECT_EQ(messages(7, 100), QString());
  EXPECT_EQ(messages(0, 0), QString());
}

TEST_F(JsonLinesArchiveTest, PassesOverTornLinesAndSplitsMessages) {
  put(0, line(1, 0, QStringLiteral("a")) + "{\"time\":\"2024-05-01T12:0\n\n" + line(3, 1, QStringLiteral("late")) +
             line(2, 59, QStringLiteral("disorder")) + line(4, 0, QStringLiteral("x\ny")) + "{\"half");
  EXPECT_EQ(messages(0, 100), QStringLiteral("a late disorder x y"));
  EXPECT_EQ(messages(0, 1), QStringLiteral("y"));
  EXPECT_EQ(messages(3, 100), QStringLiteral("late x y"));
}

TEST_F(JsonLinesArchiveTest, NoLogIsEmptyAndAnUnreadableOneIsAFailure) {
  EXPECT_EQ(messages(0, 10), QString());
  ASSERT_TRUE(QDir().mkpath(file()));  // a folder in the file's place
  EXPECT_EQ(messages(0, 10), QStringLiteral("failed"));
}

TEST_F(JsonLinesArchiveTest, ReadsBackWhatTheLogWrites) {
  const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-1);
  logger(options()).warning("disk %{public}s", "full");
  const auto lines = JsonLinesArchive(folder()).recentLines(before, 10);
  ASSERT_TRUE(lines);
  ASSERT_EQ(lines->size(), 1);
  EXPECT_TRUE((*lines)[0].endsWith(QStringLiteral("[com.quillmere.app:audio] disk full"))) << (*lines)[0].toStdString();
}

}  // namespace
}  // namespace quillmere
