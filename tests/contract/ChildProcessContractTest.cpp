#include <csignal>

#include "platform/linux/LinuxChildProcess.h"
#include "platform/qt/QtExecutor.h"
#include "support/FakeChildProcess.h"
#include "support/RunTask.h"
#include "support/TestTexts.h"
#include "support/WaitUntil.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Output = ChildProcessRequest::Output;

// What the program of a case does: a shell script, and the same played by the test.
struct Program {
  const char* script;
  std::function<void(FakeChildProcess&)> play;
  bool isStubborn = false;
};

struct FakeMachine {
  FakeChildProcessFactory factory;
  void load(const Program& program) {
    factory.onStart = program.play;
    factory.areStubborn = program.isStubborn;
  }
  void loadNothing() { factory.startError = PlatformError{"process", 0, "none"}; }
  ChildProcessRequest request(const Program&) { return {}; }
};

struct RealMachine {
  TestTexts texts;
  LinuxChildProcessFactory factory;
  void load(const Program&) {}
  void loadNothing() {}
  ChildProcessRequest request(const Program& program) { return {.program = "sh", .arguments = {"-c", program.script}}; }
};

template <typename Machine>
class ChildProcessContract : public testing::Test {
 protected:
  template <typename T>
  T run(Task<T> task) {
    return runTaskInLoop(executor, std::move(task));
  }
  std::unique_ptr<ChildProcess> start(const Program& program) {
    machine.load(program);
    ChildProcessRequest request = machine.request(program);
    request.onLine = [this](Output output, const QString& line) { lines[output] << line; };
    auto started = run(machine.factory.start(request));
    return started ? std::move(*started) : nullptr;
  }
  QtExecutor executor;
  Machine machine;
  std::map<Output, QStringList> lines;
};

using Machines = testing::Types<FakeMachine, RealMachine>;
TYPED_TEST_SUITE(ChildProcessContract, Machines);

TYPED_TEST(ChildProcessContract, LinesAndTheEndAreTold) {
  const auto process =
      this->start({R"(echo one; echo two >&2; printf 'Größe\nno end'; exit 3)", [](FakeChildProcess& played) {
                     played.write("one");
                     played.write("two", Output::standardError);
                     played.write("Größe");
                     played.write("no end");
                     played.end({3, 0});
                   }});
  ASSERT_TRUE(process);
  EXPECT_GT(process->processId(), 0);
  EXPECT_EQ(this->run(process->waitForExit()), (ChildProcessExit{3, 0}));
  EXPECT_EQ(process->exit(), (ChildProcessExit{3, 0}));
  EXPECT_EQ(this->lines[Output::standardOutput], QStringList({"one", "Größe", "no end"}));
  EXPECT_EQ(this->lines[Output::standardError], QStringList{"two"});
  EXPECT_EQ(this->run(process->terminate(1h)), (ChildProcessExit{3, 0})) << "harmless afterwards";
}

TYPED_TEST(ChildProcessContract, AskedToEndAndKilledWhereItDoesNot) {
  const auto isReady = [](FakeChildProcess& process) { process.write("ready"); };
  const struct {
    Program program;
    Duration grace;
    int signal;
  } cases[] = {{{"echo ready; exec sleep 1000", isReady}, 1h, SIGTERM},
               {{"trap '' TERM; echo ready; while :; do sleep 1000; done", isReady, true}, 50ms, SIGKILL}};
  for (const auto& c : cases) {
    this->lines.clear();
    const auto process = this->start(c.program);
    ASSERT_TRUE(process && waitUntil([this] { return !this->lines.empty(); }));
    EXPECT_FALSE(process->exit());
    EXPECT_EQ(this->run(process->terminate(c.grace)), (ChildProcessExit{0, c.signal}));
  }
}

TYPED_TEST(ChildProcessContract, WhatIsNotThereDoesNotStart) {
  this->machine.loadNothing();
  ChildProcessRequest request;
  request.program = "/nonexistent/program";
  const auto started = this->run(this->machine.factory.start(request));
  ASSERT_FALSE(started);
  EXPECT_EQ(started.error().domain, "process");
  EXPECT_FALSE(started.error().description.isEmpty());
}

}  // namespace
}  // namespace quillmere
