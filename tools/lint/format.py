#!/usr/bin/env python3
"""C++ files as clang-format leaves them. One line a file that isn't; `format.py --fix` mends them."""
import os
import shutil
import subprocess
import sys

PROGRAMS = ("clang-format-16", "clang-format")  # others break lines elsewhere


def misformatted(root, paths, fix=False):
    """[(path, line)] of the first place in each file; None without clang-format."""
    program = next((found for found in map(shutil.which, PROGRAMS) if found), None)
    if program is None:
        return None
    if fix:
        subprocess.run([program, "-i", *paths], cwd=root, check=True)
    done = subprocess.run([program, "--dry-run", *paths], cwd=root, capture_output=True, text=True)
    found = {}
    for line in done.stderr.splitlines():
        parts = line.split(":", 3)
        if len(parts) == 4 and "clang-format-violations" in parts[3]:
            found.setdefault(parts[0], int(parts[1]))
    return sorted(found.items())


def main(arguments):
    here = os.path.dirname(os.path.abspath(__file__))
    sys.path.insert(0, here)
    from source_tree import SourceTree
    root = os.path.dirname(os.path.dirname(here))
    paths = [file.path for file in SourceTree.from_folder(root).files if file.is_code and not file.path.startswith("third_party/")]
    found = misformatted(root, paths, "--fix" in arguments)
    if found is None:
        print("tools/lint/format.py: clang-format is not installed (scripts/setup.sh)")
        return 1
    for path, line in found:
        print("%s:%d: not as clang-format leaves it (tools/lint/format.py --fix)" % (path, line))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
