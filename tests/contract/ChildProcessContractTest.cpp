#include <csignal>

#include "contract/Sides.h"
#include "platform/linux/LinuxChildProcess.h"
#include "support/FakeChildProcess.h"
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

struct FakeSide : InLoop {
  ChildProcessRequest load(const Program& program) {
    factory.onStart = program.play;
    factory.areStubborn = program.isStubborn;
    return {};
  }
  void loadNothing() { factory.startError = PlatformError{"process", 0, "none"}; }
  FakeChildProcessFactory factory;
};

struct LinuxSide : InLoop {
  ChildProcessRequest load(const Program& program) { return {.program = "sh", .arguments = {"-c", program.script}}; }
  void loadNothing() {}
  TestTexts texts;
  LinuxChildProcessFactory factory;
};

template <typename Side>
class ChildProcessContract : public testing::Test, public Side {
 protected:
  std::unique_ptr<ChildProcess> start(const Program& program) {
    ChildProcessRequest request = this->load(program);
    request.onLine = [this](Output output, const QString& line) { lines[output] << line; };
    auto started = this->run(this->factory.start(request));
    return started ? std::move(*started) : nullptr;
  }
  std::map<Output, QStringList> lines;
};
using Sides = testing::Types<FakeSide, LinuxSide>;
TYPED_TEST_SUITE(ChildProcessContract, Sides, SideNames);

TYPED_TEST(ChildProcessContract, LinesAndTheEndAreTold) {
  const auto process = this->start({R"(echo one; echo two >&2; printf 'Größe\nno end'; exit 3)", [](auto& played) {
                                      for (const char* line : {"one", "Größe", "no end"}) played.write(line);
                                      played.write("two", Output::standardError);
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
  const std::tuple<Program, Duration, int> cases[] = {
      {{"echo ready; exec sleep 1000", isReady}, 1h, SIGTERM},
      {{"trap '' TERM; echo ready; while :; do sleep 1000; done", isReady, true}, 50ms, SIGKILL}};
  for (const auto& [program, grace, signal] : cases) {
    this->lines.clear();
    const auto process = this->start(program);
    ASSERT_TRUE(process && waitUntil([this] { return !this->lines.empty(); }));
    EXPECT_FALSE(process->exit());
    EXPECT_EQ(this->run(process->terminate(grace)), (ChildProcessExit{0, signal}));
  }
}

TYPED_TEST(ChildProcessContract, WhatIsNotThereDoesNotStart) {
  this->loadNothing();
  const auto started = this->run(this->factory.start({.program = "/nonexistent/program"}));
  ASSERT_FALSE(started);
  EXPECT_EQ(started.error().domain, "process");
  EXPECT_FALSE(started.error().description.isEmpty());
}

}  // namespace
}  // namespace quillmere
