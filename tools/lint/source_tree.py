"""The project's text files as the checks see them."""
import bisect
import os
import re
import subprocess
from functools import cached_property

CODE_SUFFIXES = (".h", ".cpp")
BINARY_SUFFIXES = (".png", ".ico", ".svgz", ".wav", ".mp3", ".bin", ".sqlite", ".qm", ".db", ".gz", ".zip")


class SourceFile:
    def __init__(self, path, text):
        self.path = path  # relative to the root, with '/'
        self.text = text

    @cached_property
    def _line_starts(self):
        return [0] + [match.end() for match in re.finditer("\n", self.text)]

    def line_of(self, offset):
        return bisect.bisect_right(self._line_starts, offset)

    def line_text(self, line):
        starts = self._line_starts
        end = starts[line] if line < len(starts) else len(self.text)
        return self.text[starts[line - 1]:end]

    def allows(self, line, rule):
        """True where the line, or the one above it, carries `lint-allow(rule): reason`."""
        mark = "lint-allow(%s)" % rule
        return mark in self.line_text(line) or (line > 1 and mark in self.line_text(line - 1))

    @cached_property
    def code(self):
        """The text with comments and the insides of literals blanked; offsets stay."""
        return blank(self.text)

    @cached_property
    def includes(self):
        """[(line, 'base/Result.h', is_quoted)]"""
        found = []
        for match in re.finditer(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"\n]+)[>"]', self.text, re.M):
            found.append((self.line_of(match.start(1)), match.group(2), match.group(1) == '"'))
        return found

    @property
    def is_code(self):
        return self.path.endswith(CODE_SUFFIXES)


_TOKEN = re.compile(
    r'//[^\n]*(?:\\\n[^\n]*)*'
    r'|/\*.*?\*/'
    r'|R"(?P<tag>[^()\\\s]{0,16})\((?P<raw>.*?)\)(?P=tag)"'
    r'|"(?:[^"\\\n]|\\.)*"'
    r"|(?<![0-9A-Fa-f])'(?:[^'\\\n]|\\.)+'",
    re.S)
_NOT_NEWLINE = re.compile(r"[^\n]")


def blank(text):
    def spaces(match):
        token = match.group(0)
        if token.startswith("/"):
            return _NOT_NEWLINE.sub(" ", token)
        return '"' + _NOT_NEWLINE.sub(" ", token[1:-1]) + '"'

    return _TOKEN.sub(spaces, text)


class SourceTree:
    def __init__(self, files):
        self.files = sorted(files, key=lambda file: file.path)
        self.by_path = {file.path: file for file in self.files}

    @staticmethod
    def from_texts(texts):
        return SourceTree([SourceFile(path, text) for path, text in texts.items()])

    @staticmethod
    def from_folder(root):
        files = []
        for path in _paths(root):
            if path.endswith(BINARY_SUFFIXES):
                continue
            try:
                with open(os.path.join(root, path), encoding="utf-8") as handle:
                    files.append(SourceFile(path, handle.read()))
            except (UnicodeDecodeError, FileNotFoundError, IsADirectoryError):
                continue
        return SourceTree(files)

    def code_under(self, *folders):
        return [file for file in self.files if file.is_code and file.path.startswith(folders)]


def _paths(root):
    listed = subprocess.run(["git", "-C", root, "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                            capture_output=True)
    if listed.returncode == 0:
        return [path for path in listed.stdout.decode("utf-8", "surrogateescape").split("\0") if path]
    skipped = {"build", ".git", "src.tmp"}
    paths = []
    for folder, folders, names in os.walk(root):  # an unpacked release has no git
        inside = os.path.relpath(folder, root)
        folders[:] = [name for name in folders if name not in skipped
                      and os.path.normpath(os.path.join(inside, name)) != os.path.join("third_party", "src")]
        paths += [os.path.normpath(os.path.join(inside, name)) for name in names]
    return paths
