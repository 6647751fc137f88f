#!/usr/bin/env python3
"""Runs every check of this folder over the project. Silent and 0 when clean; else one line a finding, and 1.

A check is a module with check(tree) that gives (path, line, message) triples; a script without one is run as a program
that prints its findings. Usage: run.py [ROOT]
"""
import importlib
import os
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
NO_CHECKS = {"run.py", "selftest.py", "source_tree.py", "tidy.py", "qml.py"}
PROGRAMS = {"texts.py", "format.py"}


def main(arguments):
    root = os.path.abspath(arguments[0]) if arguments else os.path.dirname(os.path.dirname(HERE))
    sys.path.insert(0, HERE)
    sys.dont_write_bytecode = True
    from source_tree import SourceTree
    tree = SourceTree.from_folder(root)
    lines, failed = [], False
    for name in sorted(os.listdir(HERE)):
        if not name.endswith(".py") or name in NO_CHECKS:
            continue
        if name in PROGRAMS:
            done = subprocess.run([sys.executable, "-B", os.path.join(HERE, name)], cwd=root, capture_output=True, text=True)
            failed = failed or done.returncode != 0
            if done.returncode != 0:
                lines += (done.stdout + done.stderr).splitlines() or ["tools/lint/%s: failed silently" % name]
        else:
            findings = importlib.import_module(name[:-3]).check(tree)
            lines += ["%s:%d: %s" % finding for finding in sorted(set(findings))]
    for line in lines:
        print(line)
    return 1 if lines or failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
