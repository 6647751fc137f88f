#include "platform/x11/X11Pasteboard.h"

#include <gmock/gmock.h>
#include <signal.h>

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <thread>

#include "platform/x11/X11Desk.h"
#include "support/InLoop.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::Not;

class X11PasteboardTest : public X11DeskTest, protected InLoop {
 protected:
  void TearDown() override {
    for (const auto& owner : owners) {
      ::kill(pid_t(owner->processId()), SIGCONT);
      owner->kill();
      owner->waitForFinished();
    }
  }

  // Another program that owns the clipboard and stays in the foreground.
  QProcess& copyElsewhere(const QByteArray& bytes, const QString& target) {
    const quint64 before = pasteboard->changeCount();
    const QString file = folder.filePath(QString::number(++files));
    QFile data(file);
    EXPECT_TRUE(data.open(QIODevice::WriteOnly));
    data.write(bytes);
    data.close();
    owners.push_back(std::make_unique<QProcess>());
    owners.back()->start("xclip",
                         {"-display", server.displayName(), "-quiet", "-selection", "clipboard", "-t", target, file});
    EXPECT_TRUE(owners.back()->waitForStarted());
    EXPECT_TRUE(waitUntil([&] { return pasteboard->changeCount() > before; }));
    return *owners.back();
  }
  // What another program gets; no event loop of the main thread runs in here.
  QByteArray readElsewhere(const QString& target) {
    QProcess reader;
    reader.start("xclip", {"-display", server.displayName(), "-o", "-selection", "clipboard", "-t", target});
    EXPECT_TRUE(reader.waitForFinished(60000));
    return reader.readAllStandardOutput();
  }
  QStringList targetsElsewhere() {
    return QString::fromLatin1(readElsewhere("TARGETS")).split('\n', Qt::SkipEmptyParts);
  }
  ClipboardItems items() { return run(pasteboard->items()); }
  static QByteArray noise(int size) {
    QByteArray bytes(size, '\0');
    quint32 state = 1;
    for (char& byte : bytes) byte = char((state = state * 1664525u + 1013904223u) >> 24);
    return bytes;
  }

  QTemporaryDir folder;
  int files = 0;
  std::vector<std::unique_ptr<QProcess>> owners;
  std::unique_ptr<X11Pasteboard> pasteboard = *X11Pasteboard::open(executor, server.displayName());
};

TEST_F(X11PasteboardTest, WhatAnotherProgramHadComesBackByteForByte) {
  const struct {
    const char* target;
    QByteArray bytes;
  } cases[] = {
      {"UTF8_STRING", QStringLiteral("Grüße 会议 👋").toUtf8()},
      {"image/png", noise(5 * 1024 * 1024)},
      {"text/uri-list", "file:///tmp/a%20b\r\nfile:///tmp/c\r\n"},
      {"x-special/gnome-copied-files", "copy\nfile:///tmp/a"},
      {"text/html", "<b>bold</b>"},
  };
  for (const auto& one : cases) {
    copyElsewhere(one.bytes, one.target);
    const ClipboardItems saved = items();
    ASSERT_EQ(saved.size(), 1u) << one.target;
    EXPECT_EQ(saved.front().data.value(one.target), one.bytes) << one.target;
    EXPECT_THAT(saved.front().types, Not(Contains("TARGETS")));
    ASSERT_TRUE(pasteboard->writeText("dictated", true));
    EXPECT_EQ(readElsewhere("UTF8_STRING"), "dictated");
    ASSERT_TRUE(pasteboard->write(saved));
    EXPECT_EQ(readElsewhere(one.target), one.bytes) << one.target;
    EXPECT_THAT(targetsElsewhere(), Contains(QString(one.target)));
    EXPECT_EQ(items(), saved);
  }
}

TEST_F(X11PasteboardTest, ATextIsOfferedUnderEveryUsualTypeAndCanBeHidden) {
  const QString text = "Grüße 👋";
  pasteboard->writeText(text, true);
  for (const char* target : {"text/plain;charset=utf-8", "UTF8_STRING", "text/plain", "TEXT"})
    EXPECT_EQ(readElsewhere(target), text.toUtf8()) << target;
  EXPECT_EQ(readElsewhere("STRING"), text.toLatin1());
  EXPECT_EQ(readElsewhere("x-kde-passwordManagerHint"), "secret");
  pasteboard->writeText(text, false);
  EXPECT_THAT(targetsElsewhere(), Not(Contains("x-kde-passwordManagerHint")));
  const QString longText(3'000'000, QChar(0xe4));
  pasteboard->writeText(longText, true);
  EXPECT_EQ(readElsewhere("UTF8_STRING"), longText.toUtf8());
}

TEST_F(X11PasteboardTest, AnOwnerThatHangsHoldsUpNobody) {
  QProcess& owner = copyElsewhere("stuck", "UTF8_STRING");
  ASSERT_EQ(::kill(pid_t(owner.processId()), SIGSTOP), 0);
  TaskScope scope(executor);
  auto reading = scope.spawn(pasteboard->items());
  pause(50ms);
  EXPECT_FALSE(reading.isDone());
  // The clipboard can be written while the owner is being asked.
  EXPECT_TRUE(pasteboard->writeText("mine", true));
  EXPECT_EQ(readElsewhere("UTF8_STRING"), "mine");
  ASSERT_TRUE(waitUntil([&] { return reading.isDone(); }));
  EXPECT_EQ(run(reading.join()), ClipboardItems{});
  EXPECT_EQ(run(pasteboard->string()), "mine");
}

TEST_F(X11PasteboardTest, AnOwnerThatDiesWhileItIsReadGivesWhatArrived) {
  QProcess& owner = copyElsewhere(noise(8 * 1024 * 1024), "image/png");
  ASSERT_EQ(::kill(pid_t(owner.processId()), SIGSTOP), 0);
  TaskScope scope(executor);
  auto reading = scope.spawn(pasteboard->items());
  owner.kill();
  owner.waitForFinished();
  ASSERT_TRUE(waitUntil([&] { return reading.isDone(); }));
  EXPECT_EQ(items(), ClipboardItems{});
}

TEST_F(X11PasteboardTest, FetchesAreToldFromThoseOfClipboardManagers) {
  // A manager reads whatever is copied, and asks for the list of types.
  ASSERT_TRUE(pasteboard->writeText("one", true));
  readElsewhere("UTF8_STRING");
  pasteboard->expectFetch();
  readElsewhere("TARGETS");
  EXPECT_FALSE(run(pasteboard->waitForFetch(100ms)));

  // The target, unknown so far, asks after the keystroke.
  copyElsewhere("between", "UTF8_STRING");
  ASSERT_TRUE(pasteboard->writeText(QString(1'000'000, u'x'), true));
  pasteboard->expectFetch();
  TaskScope scope(executor);
  auto waiting = scope.spawn(pasteboard->waitForFetch(30s));
  owners.push_back(std::make_unique<QProcess>());
  owners.back()->setStandardOutputFile(QProcess::nullDevice());
  owners.back()->start("xclip", {"-display", server.displayName(), "-o", "-selection", "clipboard"});
  ASSERT_TRUE(waitUntil([&] { return waiting.isDone(); }));
  EXPECT_TRUE(pasteboard->wasFetched());
  EXPECT_TRUE(run(pasteboard->waitForFetch(0ms)));
}

TEST_F(X11PasteboardTest, NewsOfAnOlderLossDoesNotEndTheWaitForANewerText) {
  auto theirs = *X11Pasteboard::open(executor, server.displayName());
  ASSERT_TRUE(pasteboard->writeText("one", true));
  ASSERT_TRUE(theirs->writeText("theirs", false));
  // The main thread is busy, so it has yet to hear of it.
  while (pasteboard->ownsContents()) std::this_thread::yield();
  ASSERT_TRUE(pasteboard->writeText("two", true));
  pasteboard->expectFetch();
  TaskScope scope(executor);
  auto waiting = scope.spawn(pasteboard->waitForFetch(100s));
  items();
  EXPECT_FALSE(waiting.isDone());
  EXPECT_EQ(run(theirs->string()), "two");
  EXPECT_TRUE(run(waiting.join()));
}

TEST_F(X11PasteboardTest, WhoFetchesAndTakesTheClipboardOverHasFetched) {
  auto theirs = *X11Pasteboard::open(executor, server.displayName());
  ASSERT_TRUE(pasteboard->writeText("one", true));
  pasteboard->expectFetch();
  EXPECT_EQ(readElsewhere("UTF8_STRING"), "one");
  ASSERT_TRUE(theirs->writeText("one", false));
  // The main thread has yet to hear of either.
  while (pasteboard->ownsContents()) std::this_thread::yield();
  EXPECT_TRUE(run(pasteboard->waitForFetch(10s)));
}

TEST_F(X11PasteboardTest, AServerThatDiesEndsEverythingQuietly) {
  ASSERT_TRUE(pasteboard->writeText("one", true));
  TaskScope scope(executor);
  auto waiting = scope.spawn(pasteboard->waitForFetch(100s));
  waitUntil([&] { return pasteboard->ownsContents(); });
  server.kill();
  ASSERT_TRUE(waitUntil([&] { return waiting.isDone(); }));
  EXPECT_FALSE(pasteboard->ownsContents());
  EXPECT_FALSE(pasteboard->writeText("two", true));
  EXPECT_EQ(items(), ClipboardItems{});
  EXPECT_FALSE(X11Pasteboard::open(executor, ":4711"));
}

}  // namespace
}  // namespace quillmere
