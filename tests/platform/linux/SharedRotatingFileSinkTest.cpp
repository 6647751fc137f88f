#include "platform/linux/SharedRotatingFileSink.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <spdlog/details/log_msg.h>
#include <spdlog/pattern_formatter.h>
#include <QFile>
#include <QTemporaryDir>
#include <csignal>

namespace quillmere {
namespace {

void setFileSizeLimit(rlim_t bytes) {
  rlimit limit{};
  ::getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = bytes;
  ::setrlimit(RLIMIT_FSIZE, &limit);
}

// A disk without room cuts an append short. What comes later must not be glued to the torn piece.
TEST(SharedRotatingFileSinkTest, ALineCutShortSpoilsNoLaterOne) {
  QTemporaryDir home;
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);
    int failures = 0;
    SharedRotatingFileSink sink(
        {.folder = home.path(), .baseName = "x", .retryMs = 0, .onFailure = [&](const QString&) { ++failures; }});
    sink.set_formatter(std::make_unique<spdlog::pattern_formatter>("%v"));
    const auto say = [&](const char* text) { sink.log(spdlog::details::log_msg("c", spdlog::level::info, text)); };
    say("first");
    setFileSizeLimit(10);
    say("0123456789");  // four bytes fit
    say("lost");
    setFileSizeLimit(RLIM_INFINITY);
    say("later");
    say("last");
    ::_exit(failures);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 1);  // said once
  QFile file(SharedRotatingFileSink::filePath(home.path(), "x", 0));
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  EXPECT_EQ(file.readAll(), QByteArray("first\n0123\nlater\nlast\n"));
}

}  // namespace
}  // namespace quillmere
