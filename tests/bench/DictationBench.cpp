// How long the desktop application lets its user wait, on a desktop of its own with real windows, keys and sound:
//
//   DESKTOP_TRAY=yes tests/e2e/headless-desktop.sh build/release/tests/bench/DictationBench [BUILD] [ROUNDS]
//
// BUILD is the build folder whose programs are measured (the one this program is in), ROUNDS is 20. Prints the median
// and the worst of all rounds beside the budget. Real speech needs the starter model: QUILLMERE_STARTER_MODEL, or the
// one below build/starter.
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QMap>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "bench/ProcessTiming.h"
#include "e2e/Application.h"
#include "e2e/Microphone.h"
#include "e2e/TextField.h"

namespace {

using namespace quillmere;
using Steady = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

int rounds = 20;
constexpr double shortSpeech = 1.6;  // seconds

double since(Steady::time_point begin) {
  return Milliseconds(Steady::now() - begin).count();
}

void pause(int milliseconds) {
  QEventLoop loop;
  QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
  loop.exec();
}

// Asks as fast as the application answers.
template <typename Condition>
bool asked(Condition condition, double limitMs = 60000) {
  const auto begin = Steady::now();
  while (!condition()) {
    if (since(begin) > limitMs) return false;
    pause(1);
  }
  return true;
}

struct Row {
  const char* what;
  const char* unit;
  std::vector<double> values;
  double budget = 0;  // 0: none
};

void print(const std::vector<Row>& rows) {
  std::printf("\n%-44s %10s %10s %10s\n", "", "median", "worst", "budget");
  for (const Row& row : rows) {
    if (row.values.empty()) {
      std::printf("%-44s %10s\n", row.what, "no value");
      continue;
    }
    std::printf("%-44s %7.1f %s %7.1f %s ", row.what, median(row.values), row.unit,
                *std::max_element(row.values.begin(), row.values.end()), row.unit);
    if (row.budget > 0)
      std::printf("%7.0f %s%s\n", row.budget, row.unit, median(row.values) > row.budget ? "  MISSED" : "");
    else
      std::printf("%10s\n", "-");
  }
  std::fflush(stdout);
}

// --- one dictation after the other

bool recordAndStop(Application& application) {
  const bool isSpoken = application.record(shortSpeech);
  if (isSpoken)
    application.toggle();
  else
    std::printf("no recording began: %s\n", qPrintable(application.status()["error"].toString()));
  return isSpoken;
}

struct Dictation {
  QJsonObject timings;  // as the application's status tells them
  QDateTime textInField;
};

std::vector<Dictation> dictate(Application& application, TextField& field) {
  std::vector<Dictation> all;
  if (!field.isReady()) std::puts("the target's window is not active");
  // The first round warms everything up and doesn't count.
  for (int round = 0; round <= rounds; ++round) {
    field.activate();
    const QJsonObject before = application.status()["timings"].toObject();
    const qsizetype lengthBefore = field.text().size();
    if (!recordAndStop(application)) break;
    Dictation dictation;
    if (asked([&] { return field.text().size() > lengthBefore; }))
      dictation.textInField = QDateTime::currentDateTimeUtc();
    QJsonObject status;
    const bool isDone = asked([&] {
      status = application.status();
      const QJsonObject now = status["timings"].toObject();
      return !now.isEmpty() && now != before;
    });
    if (!isDone || status["paste"].toString() != "pasted") {
      std::printf("round %d: %s, paste %s, error \"%s\"\n", round, qPrintable(status["state"].toString()),
                  qPrintable(status["paste"].toString()), qPrintable(status["error"].toString()));
      if (round == 0) break;  // where the first fails, so will the others
      continue;
    }
    if (round == 0) continue;
    dictation.timings = status["timings"].toObject();
    all.push_back(std::move(dictation));
  }
  return all;
}

// When the engine was done, again and again, from the application's log.
std::vector<QDateTime> decodingEnds() {
  std::vector<QDateTime> ends;
  QFile log(qEnvironmentVariable("XDG_STATE_HOME") + "/quillmere/logs/quillmere.log");
  if (!log.open(QIODevice::ReadOnly)) return ends;
  for (const QByteArray& line : log.readAll().split('\n')) {
    const QJsonObject entry = QJsonDocument::fromJson(line).object();
    if (entry["message"].toString().startsWith("📝 Raw transcription"))
      ends.push_back(QDateTime::fromString(entry["time"].toString(), Qt::ISODateWithMs));
  }
  return ends;
}

std::vector<Row> measureDictations(Application& application, double& stopToDecodingMs) {
  Row firstSample{"trigger to first sample", "ms", {}, 50};
  Row toDecoding{"stop to start of decoding, without trimming", "ms", {}, 60};
  Row trimming{"  trimming of silence", "ms", {}};
  Row decoding{"  decoding", "ms", {}};
  Row toField{"end of decoding to the text in a Qt field", "ms", {}, 150};
  // With the wait for further requests by the same target, 60 ms.
  Row toPasted{"  to the end of the paste there", "ms", {}};
  Row total{"stop to text", "ms", {}};
  const auto take = [](Row& row, const QJsonObject& timings, const char* key) {
    if (timings.contains(QLatin1String(key))) row.values.push_back(timings[QLatin1String(key)].toDouble());
  };
  std::vector<double> wholeWay;
  TextField field(TextField::Kind::qtLine);
  const auto dictations = dictate(application, field);
  const auto ends = decodingEnds();
  for (const auto& [timings, textInField] : dictations) {
    take(firstSample, timings, "triggerToFirstSample");
    take(trimming, timings, "trimming");
    take(decoding, timings, "decoding");
    take(toPasted, timings, "decodedToPasted");
    take(total, timings, "stopToText");
    wholeWay.push_back(timings["stopToDecoding"].toDouble());
    toDecoding.values.push_back(wholeWay.back() - timings["trimming"].toDouble());
    const auto after = std::upper_bound(ends.begin(), ends.end(), textInField);
    if (textInField.isValid() && after != ends.begin())
      toField.values.push_back(double(std::prev(after)->msecsTo(textInField)));
  }
  stopToDecodingMs = median(wholeWay);
  return {firstSample, toDecoding, trimming, decoding, toField, toPasted, total};
}

// --- cancel

// Processor time of each thread but the main one, in ticks.
QMap<qint64, qint64> threadTicks(qint64 process) {
  QMap<qint64, qint64> ticks;
  const QDir tasks(QString("/proc/%1/task").arg(process));
  for (const QString& name : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
    QFile file(tasks.filePath(name + "/stat"));
    if (name.toLongLong() == process || !file.open(QIODevice::ReadOnly)) continue;
    const QByteArray line = file.readAll();
    // Behind the name, which may hold anything: state is field 3, user and system time are fields 14 and 15.
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    if (fields.size() > 12) ticks[name.toLongLong()] = fields[11].toLongLong() + fields[12].toLongLong();
  }
  return ticks;
}

std::vector<Row> measureCancels(Application& application, double stopToDecodingMs) {
  Row toIdle{"cancel during a decode to idle", "ms", {}, 100};
  Row toRest{"cancel to the engine's threads at rest", "ms", {}, 100};
  constexpr int busyTicks = 3;
  for (int round = 0; round < rounds; ++round) {
    if (!recordAndStop(application)) break;
    // Each round at another point of the decode.
    pause(int(stopToDecodingMs) + 60);
    const auto before = threadTicks(application.processId());
    pause(100 + 7 * round);
    const auto during = threadTicks(application.processId());
    if (application.state() != "transcribing") {
      std::printf("round %d: nothing to cancel\n", round);
      asked([&] { return application.state() == "idle"; });
      continue;
    }
    QList<qint64> decoders;
    for (auto thread = during.begin(); thread != during.end(); ++thread)
      if (thread.value() - before.value(thread.key()) >= busyTicks) decoders << thread.key();
    const auto begin = Steady::now();
    application.cancel();
    if (asked([&] { return application.state() == "idle"; })) toIdle.values.push_back(since(begin));
    if (decoders.isEmpty()) continue;
    auto last = threadTicks(application.processId());
    double restAt = since(begin);
    while (since(begin) < 600) {
      const auto now = threadTicks(application.processId());
      for (const qint64 thread : decoders)
        if (now.value(thread) > last.value(thread)) restAt = since(begin);
      last = now;
      pause(5);
    }
    toRest.values.push_back(restAt);
    pause(200);
  }
  return {toIdle, toRest};
}

// --- start and memory

Row measureStarts(Application& application) {
  Row row{"start to ready tray", "ms", {}, 400};
  for (int round = 0; round <= rounds; ++round) {
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    const auto begin = Steady::now();
    process.start(Application::program("quillmere-desktop"), {"--hidden"});
    const bool isReady = asked([&] { return !application.status().isEmpty(); });
    if (isReady && round > 0) row.values.push_back(since(begin));
    pause(300);
    Application::command({"quit"});
    if (!process.waitForFinished(20000)) {
      process.kill();
      process.waitForFinished();
    }
  }
  return row;
}

double residentMegabytes(qint64 process) {
  QFile file(QString("/proc/%1/statm").arg(process));
  if (!file.open(QIODevice::ReadOnly)) return 0;
  return file.readAll().split(' ').value(1).toDouble() * double(::sysconf(_SC_PAGESIZE)) / 1048576;
}

Row measureMemory(Application& application) {
  Row resident{"idle resident memory without a model", "MB", {}, 120};
  Application::command({"modes", "edit", "Default", "--model", "base"});
  for (int round = 0; round < 3 && application.start({"--hidden"}); ++round) {
    pause(4000);
    resident.values.push_back(residentMegabytes(application.processId()));
    application.quit();
  }
  return resident;
}

bool prepareEnvironment(const QString& build) {
  const QString source = QStringLiteral(QUILLMERE_SOURCE_FOLDER);
  qputenv("QUILLMERE_BUILD_DIR", build.toUtf8());
  if (qEnvironmentVariableIsEmpty("QUILLMERE_SOURCE_DIR")) qputenv("QUILLMERE_SOURCE_DIR", source.toUtf8());
  if (qEnvironmentVariableIsEmpty("QUILLMERE_STARTER_MODEL")) {
    QDirIterator files(source + "/build/starter/data", {"ggml-tiny.en.bin"}, QDir::Files, QDirIterator::Subdirectories);
    if (files.hasNext()) qputenv("QUILLMERE_STARTER_MODEL", files.next().toUtf8());
  }
  if (qEnvironmentVariableIsEmpty("DESKTOP_FOLDER")) {
    std::fputs("start this through tests/e2e/headless-desktop.sh\n", stderr);
    return false;
  }
  const QFileInfo model(qEnvironmentVariable("QUILLMERE_STARTER_MODEL"));
  if (!model.isFile()) {
    std::fputs("there is no starter model (scripts/test.sh makes one)\n", stderr);
    return false;
  }
  qputenv("QUILLMERE_STARTER_MODEL", model.absoluteFilePath().toUtf8());  // a link will stand in another folder
  if (!QFileInfo(build + "/src/app/quillmere-desktop").isExecutable()) {
    std::fprintf(stderr, "there is no quillmere-desktop below %s\n", qPrintable(build));
    return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication program(argc, argv);
  const QStringList arguments = QCoreApplication::arguments();
  const QString build =
      QFileInfo(arguments.value(1, QCoreApplication::applicationDirPath() + "/../..")).canonicalFilePath();
  if (!prepareEnvironment(build)) return 2;
  if (arguments.size() > 2) rounds = std::max(1, arguments[2].toInt());
  std::printf("%s, %d rounds\n", qPrintable(build), rounds);

  Application application;
  if (!application.start({"--hidden"})) {
    std::fprintf(stderr, "the application does not start:\n%s\n", application.errors().constData());
    return 1;
  }
  std::vector<Row> rows;
  const auto add = [&rows](std::vector<Row> more) { rows.insert(rows.end(), more.begin(), more.end()); };
  double stopToDecodingMs = 0;
  add(measureDictations(application, stopToDecodingMs));
  add(measureCancels(application, stopToDecodingMs));
  application.quit();
  add({measureStarts(application), measureMemory(application)});
  print(rows);
  return 0;
}
