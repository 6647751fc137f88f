#!/usr/bin/env python3
"""qmllint over the windows, without what Qt 6.4's takes for a fault by mistake. One line a finding.

qml.py QMLLINT FOLDER: the program, and the folder in which the build has put the module "Quillmere".
"""
import json
import os
import re
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
_KNOWN = [re.compile(pattern) for pattern in (
    r'not found on type "(?:QVariantMap|QVariantList|QObject|QQuickItem)"$',  # only known when it runs
    r'^Property "callLater" is a QJSValue',
    r"^Cannot assign binding of type QSizeF to QSize$",  # Qt.size()
    r"^Cannot defer property assignment",  # an id inside of a contentItem: built at once, which is wanted
    r"^Cannot combine value source and binding",
)]


def serious(warnings, text):
    """[(line, message)]"""
    ids = set(re.findall(r"^\s*id:\s*(\w+)", text, re.M))
    lines = text.splitlines()
    found = []
    for warning in warnings:
        line, message = warning["line"], warning["message"]
        if warning["type"] == "info" or any(pattern.search(message) for pattern in _KNOWN):
            continue
        if message == "Unqualified access":
            start = warning["column"] - 1
            name = lines[line - 1][start:start + warning["length"]]
            # The id of what stands around a delegate is seen by the delegate; "parent" and StandardKey are everybody's.
            if name in ids or name in ("parent", "StandardKey"):
                continue
            message += ": " + name
        found.append((line, message))
    return found


def main(arguments):
    program, imports = arguments
    folder = os.path.join(ROOT, "src/app/windows/qml")
    files = sorted(os.path.join(folder, name) for name in os.listdir(folder) if name.endswith(".qml"))
    done = subprocess.run([program, "--json", "-", "-I", imports, *files], capture_output=True, text=True)
    try:
        results = json.loads(done.stdout)["files"]
    except (ValueError, KeyError):
        print("tools/lint/qml.py: %s" % (done.stderr.strip() or "qmllint says nothing"))
        return 1
    failed = False
    for result in results:
        with open(result["filename"], encoding="utf-8") as handle:
            text = handle.read()
        found = serious(result["warnings"], text)
        if not result["success"] and not result["warnings"]:
            found = [(1, "qmllint can't read it")]
        for line, message in found:
            failed = True
            print("%s:%d: %s" % (os.path.relpath(result["filename"], ROOT), line, message))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
