#!/usr/bin/env python3
"""clang-tidy over source files, as .clang-tidy says. Silent and 0 when clean.

tidy.py [--build FOLDER] [--all | --since REVISION] [--budget SECONDS] [FILE...]

Needs a build (build/dev unless told): its compile commands and what it generates. A file takes seconds, so that only
those are looked at that changed since the revision (the last ten commits unless told) or aren't committed yet, newest
first, and within the budget; what is left over is named and no failure. A file that was found clean is not looked at
again until it, a header of it or the list of checks changes: the build folder remembers.
"""
import argparse
import concurrent.futures
import hashlib
import json
import os
import re
import shutil
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PROGRAMS = ("clang-tidy-16", "clang-tidy")


def main(arguments):
    options = parse(arguments)
    program = next((found for found in map(shutil.which, PROGRAMS) if found), None)
    if program is None:
        print("tidy.py: clang-tidy is not installed")
        return 1
    build = os.path.join(ROOT, options.build)
    commands = compile_commands(build)
    if not commands:
        print("tidy.py: %s has no compile commands: build first" % options.build)
        return 1
    files = [path for path in wanted(options) if path in commands]
    folder = os.path.join(build, "tidy")
    write_commands(folder, files, commands)
    clean = Remembered(os.path.join(folder, "clean.json"), dependencies(build))
    files = [path for path in files if not clean.has(path, commands[path])]
    deadline = time.monotonic() + options.budget
    failed, left = [], []
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        def check(path):
            if time.monotonic() > deadline:
                return path, None
            return path, subprocess.run([program, "-p", folder, "--quiet", "--warnings-as-errors=*", path], cwd=ROOT,
                                        capture_output=True, text=True)
        for path, done in pool.map(check, files):
            if done is None:
                left.append(path)
            elif done.returncode == 0:
                clean.add(path, commands[path])
            else:
                failed.append(path)
                print(readable(done.stdout) or done.stderr.strip())
    clean.save()
    if left:
        print("tidy.py: no time for %d of %d files: %s" % (len(left), len(files), " ".join(left)), file=sys.stderr)
    return 1 if failed else 0


def parse(arguments):
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", default="build/dev")
    parser.add_argument("--all", action="store_true")
    parser.add_argument("--since", default="HEAD~10")
    parser.add_argument("--budget", type=float, default=float("inf"))
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("files", nargs="*")
    return parser.parse_args(arguments)


def git(*arguments):
    done = subprocess.run(["git", "-C", ROOT, *arguments], capture_output=True, text=True)
    return done.stdout.splitlines() if done.returncode == 0 else None


def wanted(options):
    if options.files:
        return [os.path.relpath(os.path.abspath(path), ROOT) for path in options.files]
    everything = git("ls-files", "src/*.cpp")
    if everything is None:  # an unpacked release has no git
        return []
    if options.all:
        return everything
    own = git("status", "--porcelain", "--untracked-files=all", "--", "src") or []
    committed = git("log", "--format=", "--name-only", options.since + "..HEAD", "--", "src")
    if committed is None:  # a history that is shorter, or cut off
        committed = git("log", "--format=", "--name-only", "-n", "10", "--", "src") or []
    files = []
    for path in [line[3:] for line in own] + committed:
        # A changed header is seen through its source file.
        path = re.sub(r"\.h$", ".cpp", path)
        if path.endswith(".cpp") and path not in files and os.path.exists(os.path.join(ROOT, path)):
            files.append(path)
    return files


def compile_commands(build):
    """{path below the root: entry}. Precompiled headers are read as text: one that is older than its parts misleads."""
    try:
        with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as handle:
            entries = json.load(handle)
    except FileNotFoundError:
        return {}
    for entry in entries:
        entry["command"] = re.sub(r"-Xclang -include-pch -Xclang \S+ -Xclang -include -Xclang (\S+)", as_text, entry["command"])
        entry["command"] = entry["command"].replace("-Xclang -fno-pch-timestamp", "").replace("-Winvalid-pch", "")
    return {os.path.relpath(os.path.realpath(entry["file"]), os.path.realpath(ROOT)): entry for entry in entries}


def as_text(match):
    with open(match.group(1), encoding="utf-8") as handle:
        return " ".join("-include " + header for header in re.findall(r'#include "([^"]+)"', handle.read()))


def write_commands(folder, files, commands):
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, "compile_commands.json"), "w", encoding="utf-8") as handle:
        json.dump([commands[path] for path in files], handle)


def dependencies(build):
    """{object: [files it was made of]}, as ninja knows them from the last build."""
    found, current = {}, None
    for line in subprocess.run(["ninja", "-C", build, "-t", "deps"], capture_output=True, text=True).stdout.splitlines():
        if line.startswith("    "):
            current.append(line.strip())
        elif ": #deps" in line:
            current = found.setdefault(line.split(": #deps")[0], [])
    return found


def readable(text):
    return "\n".join(line for line in text.splitlines() if not re.match(r"\d+ warnings? (?:generated|treated)", line)).strip()


class Remembered:
    """Which files were found clean in the state that they are in."""

    def __init__(self, path, depends):
        self._path, self._depends, self._hashes = path, depends, {}
        try:
            with open(path, encoding="utf-8") as handle:
                self._known = json.load(handle)
        except (FileNotFoundError, ValueError):
            self._known = {}

    def has(self, path, entry):
        return self._known.get(path) == self._state(path, entry)

    def add(self, path, entry):
        self._known[path] = self._state(path, entry)

    def save(self):
        with open(self._path, "w", encoding="utf-8") as handle:
            json.dump(self._known, handle, indent=1, sort_keys=True)

    def _state(self, path, entry):
        command = entry["command"]
        made = re.search(r" -o (\S+)", command)
        files = self._depends.get(made.group(1) if made else "", [])
        state = hashlib.sha256(command.encode())
        for file in [".clang-tidy", path] + sorted(file for file in files if not file.startswith("/usr/")):
            state.update(self._hash(os.path.join(ROOT, file)).encode())
        return state.hexdigest()

    def _hash(self, file):
        if file not in self._hashes:
            try:
                with open(file, "rb") as handle:
                    self._hashes[file] = hashlib.sha256(handle.read()).hexdigest()
            except OSError:
                self._hashes[file] = "missing"
        return self._hashes[file]


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
