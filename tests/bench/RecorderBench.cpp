// From the call of record() to the first sample, with and without a prepared stream, and how long stop() takes. On a
// sound server of its own with a virtual microphone. Medians and maxima of twenty rounds, in milliseconds.
#include <QCoreApplication>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "platform/pulse/PulseAudioRecorderFactory.h"
#include "platform/qt/QtExecutor.h"
#include "support/PulseServer.h"
#include "support/RunTask.h"

namespace {

using namespace quillmere;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int rounds = 20;

void waitUntil(const std::function<bool()>& condition) {
  QEventLoop loop;
  QTimer poll;
  QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
    if (condition()) loop.quit();
  });
  poll.start(1);
  loop.exec();
}

void print(const char* what, std::vector<double> values) {
  std::sort(values.begin(), values.end());
  std::printf("%-36s median %6.1f ms   max %6.1f ms\n", what, values[values.size() / 2], values.back());
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  PulseServer server;
  if (!PulseServer::isAvailable() || !server.start()) {
    std::puts("pulseaudio, pactl and paplay are needed");
    return 0;
  }
  QTemporaryDir folder;
  QtExecutor executor;
  PulseConnection::Options options;
  options.server = server.address();
  options.mayStartServer = false;
  PulseConnection connection(executor, Logging(), options);
  PulseAudioDevices devices(connection);
  runTaskInLoop(executor, devices.waitUntilReady());

  int number = 0;
  for (const bool isPrepared : {true, false}) {
    std::vector<double> first, running, stopping;
    for (int round = 0; round < rounds; ++round) {
      PulseAudioRecorderFactory factory(connection, devices);  // a fresh one has no stream
      if (isPrepared) {
        factory.prepare();
        waitUntil([&] { return factory.isPrepared(); });
      }
      const auto recorder = factory.createRecorder();
      const auto called = std::chrono::steady_clock::now();
      const auto result =
          runTaskInLoop(executor, recorder->record(folder.filePath(QStringLiteral("%1.wav").arg(++number))));
      running.push_back(Milliseconds(std::chrono::steady_clock::now() - called).count());
      if (!result) {
        std::printf("%s\n", qPrintable(result.error().description));
        return 1;
      }
      // The lengths differ, so that the rounds meet the server's periods at every point.
      waitUntil([&] { return recorder->recordedSeconds() > 0.2 + 0.0073 * round; });
      first.push_back(Milliseconds(*recorder->firstSampleLatency()).count());
      const auto stopped = std::chrono::steady_clock::now();
      runTaskInLoop(executor, recorder->stop());
      stopping.push_back(Milliseconds(std::chrono::steady_clock::now() - stopped).count());
    }
    std::puts(isPrepared ? "with a prepared stream" : "without");
    print("  record() to the first sample", first);
    print("  record() returns after", running);
    print("  stop() returns after", stopping);
  }
  return 0;
}
