"""Calls and headers that have one place only."""
import re

# Rooms whose time, timers, randomness and preferences come in through constructors.
_SUBSYSTEMS = ("src/domain/", "src/ports/", "src/diagnostics/", "src/storage/", "src/audio/", "src/recording/",
               "src/models/", "src/postprocessing/", "src/triggers/", "src/delivery/", "src/context/",
               "src/streaming/", "src/engine/", "src/providers/", "src/files/", "src/core/", "src/interface/")
_CLOCKS = [
    (r"\bQ(?:DateTime|Date|Time)::current\w+\s*\(", "the time comes from Clock"),
    (r"\b(?:system_clock|steady_clock|high_resolution_clock)::now\s*\(", "the time comes from Clock or Executor::now"),
    (r"(?<![\w.>:])(?:std::)?time\s*\(\s*(?:nullptr|NULL|0)\s*\)", "the time comes from Clock"),
    (r"\bQ(?:Timer|DeadlineTimer|ElapsedTimer|BasicTimer)\b", "timers come from Executor"),
    (r"\bQThread::(?:m|u)?sleep\b|\bstd::this_thread::(?:sleep\w+|yield)\b|(?<![\w.>:])(?:::)?(?:u|m|nano)?sleep\s*\(",
     "nothing sleeps: co_await sleepFor"),
    (r"\bQSettings\b", "preferences come from DefaultsStore"),
    (r"\bQRandomGenerator::(?:global|system)\b|\bstd::random_device\b|(?<![\w.>:])(?:std::)?s?rand\s*\(",
     "randomness comes in as an argument"),
]
_SINGLETON = [
    (r"\bstatic\s+(?:const\s+)?[\w:]+(?:<[^<>]*>)?\s*[&*]\s*(?:instance|sharedInstance|shared|getInstance|singleton)\s*\(",
     "no singletons: constructors receive what they use"),
    (r"\bQ_GLOBAL_STATIC\b", "no singletons: constructors receive what they use"),
]
# Header pattern -> the folders where it may be included.
_HEADERS = [
    (r"^xcb/|^X11/|^xkbcommon/", ("src/platform/x11/", "tests/platform/", "tests/e2e/", "tests/support/XtestKeys")),
    (r"^pulse/|^pipewire/|^alsa/", ("src/platform/pulse/", "tests/platform/")),
    (r"^sndfile\.h", ("src/platform/sndfile/", "src/platform/pulse/", "tests/platform/", "tests/bench/", "tests/contract/")),
    (r"^(?:libavformat|libavcodec|libavutil|libswresample|libavfilter)/", ("src/platform/ffmpeg/", "tests/platform/", "tests/bench/", "tests/contract/")),
    (r"^(?:whisper|parakeet)\.h$", ("src/platform/whisper/", "tests/platform/", "tests/bench/", "tests/contract/")),
    (r"^(?:ggml[\w-]*|gguf)\.h$", ("src/platform/ggml/", "src/platform/whisper/", "tests/platform/", "tests/bench/", "tests/contract/")),
    (r"^spdlog/", ("src/platform/linux/", "tests/platform/")),
    (r"^SQLiteCpp/|^sqlite3\.h$", ("src/storage/", "tests/storage/", "tests/bench/", "tests/app/", "tests/fuzz/")),
    (r"^CLI/", ("src/app/cli/", "tests/app/")),
    (r"^(?:QtDBus/)?QDBus|^QtDBus", ("src/platform/", "src/app/", "tests/platform/", "tests/contract/", "tests/app/", "tests/e2e/")),
    (r"^(?:QtNetwork/)?Q(?:Network(?!Interface)|Ssl|Tcp|Local(?:Socket|Server)|WebSocket|Http)\w*", ("src/platform/", "src/app/", "tests/")),
    (r"^QtWidgets|^QtQuick|^QtQml|^QtGui|^QGuiApplication|^QClipboard", ("src/platform/", "src/app/desktop/", "src/app/windows/", "tests/platform/", "tests/app/", "tests/desktop/", "tests/e2e/")),
    (r"^libudev\.h|^libevdev/", ("src/platform/linux/", "tests/platform/")),
    (r"^libsecret/|^gio/|^glib", ("src/platform/secretservice/", "tests/platform/")),
    (r"^curl/", ("src/platform/curl/", "tests/platform/")),
]
_CLOCK_RULES = [(re.compile(pattern), message) for pattern, message in _CLOCKS]
_SINGLETON_RULES = [(re.compile(pattern), message) for pattern, message in _SINGLETON]
_HEADER_RULES = [(re.compile(pattern), folders) for pattern, folders in _HEADERS]
_REGEX = re.compile(r"\bQRegularExpression\b(?:\s+\w+)?\s*[({]")


def check(tree):
    findings = []
    for file in tree.code_under("src/", "tests/"):
        if file.path.startswith("src/"):
            findings += _patterns(file, _SINGLETON_RULES, "singleton")
            findings += _regular_expressions(file)
        if file.path.startswith(_SUBSYSTEMS):
            findings += _patterns(file, _CLOCK_RULES, "clock")
        for line, target, _ in file.includes:
            for pattern, folders in _HEADER_RULES:
                if pattern.search(target) and "src/" + target not in tree.by_path and not file.path.startswith(folders):
                    if not file.allows(line, "header"):
                        findings.append((file.path, line, "<%s> may be included under %s only" % (target, ", ".join(folders))))
    return findings


def _patterns(file, rules, name):
    findings = []
    for pattern, message in rules:
        for match in pattern.finditer(file.code):
            line = file.line_of(match.start())
            include = file.line_text(line).lstrip().startswith("#")
            if not include and not file.allows(line, name):
                findings.append((file.path, line, "%s: %s" % (match.group(0).strip(" ("), message)))
    return findings


def _regular_expressions(file):
    """A pattern compiled without Unicode properties takes \\w and \\b for ASCII."""
    if file.path.startswith("src/base/text/"):
        return []
    findings = []
    for match in _REGEX.finditer(file.code):
        close = _closing(file.code, match.end() - 1)
        arguments = file.code[match.end():close]
        # A declaration of a function or a copy names no pattern.
        if '"' not in arguments and "fromLatin1" not in arguments and "pattern" not in arguments.lower():
            continue
        if "UseUnicodePropertiesOption" in arguments or "const QString" in arguments:
            continue
        line = file.line_of(match.start())
        if not file.allows(line, "regex"):
            findings.append((file.path, line, "QRegularExpression without UseUnicodePropertiesOption: use unicodeRegex"))
    return findings


def _closing(code, at):
    pairs = {"(": ")", "{": "}"}
    depth, close = 0, pairs[code[at]]
    for position in range(at, len(code)):
        if code[position] == code[at]:
            depth += 1
        elif code[position] == close:
            depth -= 1
            if depth == 0:
                return position
    return len(code)
