#!/usr/bin/env python3
"""Shows every lint rule one bad and one good snippet. Silent and 0 when each check says what it must."""
import os
import shutil
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
sys.dont_write_bytecode = True

import assertions  # noqa: E402
import bans  # noqa: E402
import coroutines  # noqa: E402
import format  # noqa: E402
import layering  # noqa: E402
import qml  # noqa: E402
import rooms  # noqa: E402
import words  # noqa: E402
from source_tree import SourceTree, blank  # noqa: E402

# (check, what is shown, {path: text}, the findings as 'path:line' in any order)
CASES = []


def case(check, name, files, *expected):
    CASES.append((check, name, files, sorted(expected)))


# --- layering
case(layering, "upward arrow", {"src/storage/A.h": '#include "core/B.h"\n', "src/core/B.h": ""}, "src/storage/A.h:1")
case(layering, "downward arrow", {"src/core/B.h": '#include "storage/A.h"\n', "src/storage/A.h": ""})
case(layering, "platform sees a subsystem", {"src/platform/qt/A.h": '#pragma once\n#include "audio/B.h"\n', "src/audio/B.h": ""},
     "src/platform/qt/A.h:2")
case(layering, "one adapter folder sees another", {"src/platform/qt/A.h": '#include "platform/linux/B.h"\n', "src/platform/linux/B.h": ""},
     "src/platform/qt/A.h:1")
case(layering, "an executable sees an adapter", {"src/app/desktop/A.cpp": '#include "platform/qt/B.h"\n', "src/platform/qt/B.h": ""})
case(layering, "the windows see an adapter", {"src/app/windows/A.cpp": '#include "platform/qt/B.h"\n', "src/platform/qt/B.h": ""},
     "src/app/windows/A.cpp:1")
case(layering, "what executables share sees one of them", {"src/app/compose/A.cpp": '#include "app/cli/B.h"\n', "src/app/cli/B.h": ""},
     "src/app/compose/A.cpp:1")
case(layering, "a source file beside the folders of app", {"src/app/A.cpp": ""}, "src/app/A.cpp:1")
case(layering, "a subsystem's test sees an adapter",
     {"tests/core/T.cpp": '#include "platform/qt/B.h"\n', "src/platform/qt/B.h": ""}, "tests/core/T.cpp:1")
case(layering, "a contract test sees an adapter", {"tests/contract/T.cpp": '#include "platform/qt/B.h"\n', "src/platform/qt/B.h": ""})
case(layering, "include in a comment", {"src/storage/A.h": '// #include "core/B.h"\n', "src/core/B.h": ""})
case(layering, "relative include", {"src/audio/A.h": '#include "../core/B.h"\n'}, "src/audio/A.h:1")
case(layering, "unknown room", {"src/misc/A.h": ""}, "src/misc/A.h:1")
case(layering, "no room", {"src/A.h": ""}, "src/A.h:1")
case(layering, "file cycle", {"src/base/A.h": '#include "base/B.h"\n', "src/base/B.h": '#include "base/A.h"\n'}, "src/base/A.h:1")
case(layering, "a circle through the source files",
     {"src/base/A.h": "", "src/base/A.cpp": '#include "base/A.h"\n#include "base/B.h"\n', "src/base/B.h": "",
      "src/base/B.cpp": '#include "base/A.h"\n'}, "src/base/A.cpp:2")
case(layering, "a source file includes its own header", {"src/base/A.h": "", "src/base/A.cpp": '#include "base/A.h"\n'})
case(layering, "a header includes itself", {"src/base/A.h": '#include "base/A.h"\n'}, "src/base/A.h:1")
case(layering, "folder cycle without a file cycle",
     {"src/base/x/A.h": '\n#include "base/y/B.h"\n', "src/base/y/B.h": "", "src/base/y/C.h": '#include "base/x/D.h"\n', "src/base/x/D.h": ""},
     "src/base/x/A.h:2", "src/base/y/C.h:1")

# --- coroutine shapes
HEAD = "Task<void> f() {\n"


def shape(name, body, *lines):
    case(coroutines, name, {"src/core/A.cpp": HEAD + body + "\n}\n"}, *["src/core/A.cpp:%d" % line for line in lines])


shape("lambda capturing by value", "  auto r = co_await offload(pool, [samples](const StopFlag&) { return samples; });", 2)
shape("lambda with an init capture on its own line", "  auto r = co_await offload(pool,\n      [p = std::move(p)] { return p; });", 3)
shape("lambda capturing by default copy", "  co_await run([=] { return x; });", 2)
shape("lambda capturing by reference", "  auto r = co_await offload(pool, [&samples, this](const StopFlag&) { return samples; });")
shape("lambda named first", "  auto work = [samples] { return samples; };\n  auto task = offload(pool, std::move(work));\n  co_await std::move(task);")
shape("subscript is no lambda", "  co_await fetch(list[index](1), map[key] );")
shape("braced aggregate", "  auto r = co_await fetch(Request{url, headers});", 2)
shape("qualified braced aggregate", "  co_await fetch(net::Request{.url = url});", 2)
shape("template braced aggregate", "  co_await fetch(Box<QList<int>>{a});", 2)
shape("bare braces as an argument", "  co_await fetch({url, headers});", 2)
shape("bare braces behind a comma", "  co_await fetch(1, {url});", 2)
shape("a variable initialised in braces", "  Request request{url};\n  auto r{co_await fetch(request)};")
shape("trivial braces", "  co_await sleepFor(Duration{5});")
shape("co_return of an aggregate beside an await", "  co_await fetch(request);\n  co_return Answer{1, 2};")
shape("co_return of an aggregate around an await", "  co_return Answer{co_await fetch(request)};", 2)
shape("conditional", "  auto r = co_await (isLocal ? local() : remote());", 2)
shape("conditional around", "  auto r = flag ? co_await one() : Text();", 2)
shape("conditional of plain numbers", "  total += co_await one() ? 1 : 0;\n  ok = co_await one() ? true : false;")
shape("conditional in a statement of its own", "  auto text = flag ? a : b;\n  co_await show(text);")
shape("conditional in the body under an awaiting if", "  if (co_await ready()) text = flag ? a : b;\n  for (;;) { x = y ? 1 : 2; co_await tick(); }")
shape("question mark in a text and in a comment", '  co_await say("really?");  // why ?: here')
shape("lambda behind an awaiting statement", "  co_await one();\n  list.removeIf([copy](int i) { return i == copy; });")
shape("the body of a lambda is a statement of its own", "  auto task = run([&]() -> Task<void> { co_await one(); });\n  int a = b ? 1 : 2;")
shape("the awaiting lambda's own capture is outside", "  auto f = [copy](int) -> Task<void> { co_await one(copy); };")
shape("allowed with a reason", "  // lint-allow(coroutine): two ints\n  co_await move(Point{1, 2});")
shape("braces of a loop", "  while (true) {\n    if (done) { break; }\n    co_await tick();\n  }")

# --- bans
for text, bad in [
    ("auto t = QDateTime::currentDateTimeUtc();", True), ("auto t = clock.now();", False),
    ("auto t = std::chrono::steady_clock::now();", True), ("QTimer t;", True), ("QSettings s;", True),
    ("QThread::sleep(1);", True), ("::usleep(5);", True), ("std::this_thread::yield();", True), ("std::this_thread::get_id();", False),
    ("co_await sleepFor(x); asleep(1); scope.sleep(1);", False), ("auto t = time(nullptr);", True),
    ("auto t = transcript.time(0);", False), ("// QTimer is not for us", False), ('log("QTimer");', False),
    ("QRandomGenerator::global()->generate();", True), ("static Foo& instance();", True),
    ("static std::unique_ptr<Foo> make();", False), ("static const QString& shared(int);", True),
    ("QSettings s;  // lint-allow(clock): reads another program's file", False),
]:
    case(bans, text, {"src/core/A.cpp": "\n" + text}, *(["src/core/A.cpp:2"] if bad else []))
case(bans, "an adapter may use the clock", {"src/platform/qt/A.cpp": "QTimer t; auto n = QDateTime::currentDateTime();"})
case(bans, "an adapter is no singleton either", {"src/platform/qt/A.cpp": "static A* getInstance();"}, "src/platform/qt/A.cpp:1")
for header, path, bad in [
    ("<spdlog/spdlog.h>", "src/diagnostics/A.cpp", True), ("<spdlog/spdlog.h>", "src/platform/linux/A.cpp", False),
    ("<SQLiteCpp/Database.h>", "src/core/A.cpp", True), ("<SQLiteCpp/Database.h>", "src/storage/A.cpp", False),
    ("<whisper.h>", "src/providers/A.cpp", True), ("<ggml-backend.h>", "src/platform/whisper/A.cpp", False),
    ("<ggml.h>", "src/platform/ggml/A.cpp", False), ("<ggml.h>", "src/engine/A.cpp", True), ("<whisper.h>", "src/platform/ggml/A.cpp", True),
    ("<CLI/CLI.hpp>", "src/app/cli/A.cpp", False), ("<CLI/CLI.hpp>", "src/app/session/A.cpp", True),
    ("<QDBusConnection>", "src/files/A.cpp", True), ("<QDBusConnection>", "src/app/cli/A.cpp", False),
    ("<QGuiApplication>", "src/app/session/A.cpp", True), ("<QGuiApplication>", "src/app/windows/A.cpp", False),
    ("<QNetworkReply>", "src/models/A.h", True), ("<QNetworkReply>", "src/platform/qt/A.h", False),
    ("<libavcodec/avcodec.h>", "src/audio/A.cpp", True), ("<xcb/xcb.h>", "src/context/A.cpp", True),
    ("<pulse/pulseaudio.h>", "src/recording/A.cpp", True), ("<QString>", "src/core/A.cpp", False),
]:
    case(bans, "%s in %s" % (header, path), {path: "#include %s\n" % header}, *([path + ":1"] if bad else []))
for text, bad in [
    ('QRegularExpression re("\\\\w+");', True),
    ('auto re = QRegularExpression(QStringLiteral("\\\\w+"), QRegularExpression::CaseInsensitiveOption);', True),
    ('QRegularExpression re("\\\\w+", QRegularExpression::UseUnicodePropertiesOption);', False),
    ("QRegularExpression re;", False), ("QRegularExpression copy(other);", False),
    ("QRegularExpression unicodeRegex(const QString& pattern);", False),
]:
    case(bans, text, {"src/core/A.cpp": text}, *(["src/core/A.cpp:1"] if bad else []))
case(bans, "base/text compiles patterns itself", {"src/base/text/A.cpp": 'QRegularExpression re("x");'})

# --- words; put together here so that this file stays clean itself
for text, bad in [
    ("as the " + "spec says", True), ("per " + "specification", True), ("the specific case, a spectrum", False),
    ("the XDG base directory specification", False), ("Part " + "1.2", True), ("in 2 parts 3", False),
    ("cd /wo" + "rk/main", True), ("$HOME/work/x and network/work/y", False), ("https://registry.np" + "mjs.org", True),
    ("host py" + "pi.org", True), ("issue " + "#3", True), ("an issue of taste", False), ("fixes " + "#12", True),
    ("// TO" + "DO later", True), ("XX" + "X", True), ("mktemp -t q.XXXXXX", False), ("the hackney coach", False),
]:
    case(words, text, {"docs/a.md": "ok\n" + text + "\n"}, *(["docs/a.md:2"] if bad else []))
case(words, "file name", {"docs/FIX" + "ME.md": ""}, "docs/FIX" + "ME.md:1")
case(words, "continuous integration names its own paths", {".ci/run": "cd /wo" + "rk/main"})

# --- rooms
README = {"src/core/README.md": "x"}
case(rooms, "no readme", {"src/core/A.h": "class A {\n};\n"}, "src/core/A.h:1")
case(rooms, "readme", {"src/core/A.h": "class A {\n};\n", **README})
case(rooms, "an adapter folder is a room", {"src/platform/qt/A.h": "class A {\n};\n"}, "src/platform/qt/A.h:1")
case(rooms, "wrong name", {"src/core/A.h": "\nclass Other : public X {\n};\n", **README}, "src/core/A.h:2")
case(rooms, "methods are no functions of the header", {"src/core/A.h": "class Other {\n  int f();\n};\n", **README}, "src/core/A.h:1")
case(rooms, "forward declaration", {"src/core/A.h": "class Other;\nstruct A {\n};\n", **README})
case(rooms, "plain values", {"src/core/Errors.h": "struct One {\n};\nenum class Two { a };\n", **README})
case(rooms, "a function of that name", {"src/core/Offload.h": "class Helper {\n};\ntemplate <class F>\nTask<int> offload(F f);\n", **README})
case(rooms, "helpers of a header of functions", {"src/core/Many.h": "namespace detail {\nclass Helper {\n};\n}\nint one();\n", **README})

# --- assertions
for body, bad in [
    ("int a = 1; run(a);", True), ("EXPECT_EQ(1, 1);", False), ("for (auto c : cases) { if (c) { ASSERT_TRUE(c); } }", False),
    ("expectClean(run());", False), ("// EXPECT_EQ(1, 1)", True), ("SUCCEED();", False), ("EXPECT_CALL(mock, f());", False),
]:
    case(assertions, body, {"tests/core/T.cpp": "\nTEST(A, b) {\n  %s\n}\nTEST_F(C, d) { EXPECT_TRUE(x); }\n" % body},
         *(["tests/core/T.cpp:2"] if bad else []))
case(assertions, "a helper that asserts", {"tests/core/T.cpp": "void until(int n) {\n  ASSERT_TRUE(n);\n}\nvoid idle() {}\nTEST(A, b) {\n  until(3);\n}\nTEST(A, c) {\n  idle();\n}\n"},
     "tests/core/T.cpp:8")
case(assertions, "an assertion behind a bare if", {"tests/core/T.cpp": "TEST(A, b) {\n  if (x)\n    EXPECT_EQ(1, y);\n  if (x) ASSERT_TRUE(y);\n  if (x) {\n    EXPECT_TRUE(y);\n  }\n}\n"},
     "tests/core/T.cpp:3", "tests/core/T.cpp:4")


def main():
    failures = []
    for check, name, files, expected in CASES:
        got = sorted({"%s:%d" % (path, line) for path, line, _ in check.check(SourceTree.from_texts(files))})
        if got != expected:
            failures.append("%s, %s: expected %s, got %s" % (check.__name__, name, expected, got))
    for text, expected in [
        ("a // b\nc", "a     \nc"), ('x("a\\"//b")', 'x("      ")'), ("1'000'000 /* ' */ 'x'", "1'000'000         \" \""),
        ('R"(a"b)" + "c"', '"      " + " "'), ("'\"' + y", '" " + y'),
    ]:
        if blank(text) != expected:
            failures.append("blank(%r): expected %r, got %r" % (text, expected, blank(text)))
    for module in (assertions, bans, coroutines, layering, rooms, words):
        shown = [expected for check, _, _, expected in CASES if check is module]
        if not any(shown) or all(shown):
            failures.append("%s: needs a good and a bad snippet" % module.__name__)
    text = "Item {\n  id: page\n  x: page.y + pge.y\n}\n"
    for column, message, expected in [
        (6, "Unqualified access", []), (15, "Unqualified access", [(3, "Unqualified access: pge")]),
        (1, 'Property "x" not found on type "QVariantMap"', []),
        (1, 'Property "x" not found on type "Theme"', [(3, 'Property "x" not found on type "Theme"')]),
    ]:
        length = 4 if column == 6 else 3
        got = qml.serious([{"line": 3, "column": column, "length": length, "message": message, "type": "warning"}], text)
        if got != expected:
            failures.append("qml, %s at %d: expected %s, got %s" % (message, column, expected, got))
    with tempfile.TemporaryDirectory() as folder:
        shutil.copy(os.path.join(os.path.dirname(os.path.dirname(HERE)), ".clang-format"), folder)
        for name, text in [("good.cpp", "int a = 1;\n"), ("bad.cpp", "int a = 1;\nint  b;\n")]:
            with open(os.path.join(folder, name), "w", encoding="utf-8") as handle:
                handle.write(text)
        got = format.misformatted(folder, ["good.cpp", "bad.cpp"])
        if got != [("bad.cpp", 2)]:
            failures.append("format: expected bad.cpp:2, got %s" % got)
    for failure in failures:
        print(failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
