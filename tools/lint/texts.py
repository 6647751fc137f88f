#!/usr/bin/env python3
"""Checks the text tables in resources/i18n against each other and against the code.

Errors: a key without text in a table, a key used in the code that no table has, a text that nothing uses, an empty
text, a key that stands twice, placeholders (%1 to %9) that differ between the tables.

A key counts as used when the code has it as a string literal, or has a literal prefix of it that ends in a dot
("modes.preset." + raw value).

Call: tools/lint/texts.py [ROOT]. Other scripts call check(root), which returns the list of messages.
"""
import pathlib
import re
import sys
import xml.etree.ElementTree as ElementTree

SOURCE_LANGUAGE = "en"

# Texts that stand ready for windows which aren't built yet. A line goes when the window comes.
WITHOUT_USE_YET = (
    "common.",
    "storage.folder.choose.",
    "modes.badge.offline",
)

LITERAL = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
COMMENT = re.compile(r'("(?:[^"\\\n]|\\.)*")|//[^\n]*|/\*.*?\*/', re.S)
RAW_STRING = re.compile(r'R"([^(\s]*)\(.*?\)\1"', re.S)
KEY = re.compile(r"^[a-z][A-Za-z0-9]*(?:\.[A-Za-z0-9_-]+)+$")
PREFIX = re.compile(r"^[a-z][A-Za-z0-9]*(?:\.[A-Za-z0-9_-]+)*\.$")
LOOKUP = re.compile(r'\b(?:qtTrId|qsTrId|localizedText|localizedTextWith|QT_TRID_NOOP)\s*\(\s*(?:QStringLiteral\(\s*)?"([^"\n]+)"(\s*\+)?')
PLACEHOLDER = re.compile(r"%(\d)")


def read_table(path, messages):
    table = {}
    try:
        root = ElementTree.parse(path).getroot()
    except ElementTree.ParseError as error:
        messages.append(f"{path.name}: not readable: {error}")
        return table
    for message in root.iter("message"):
        key = message.get("id") or ""
        translation = message.find("translation")
        text = (translation.text or "") if translation is not None else ""
        if not key:
            messages.append(f"{path.name}: a message without an id")
        elif key in table:
            messages.append(f"{path.name}: {key} stands twice")
        elif not text.strip():
            messages.append(f"{path.name}: {key} has an empty text")
        if translation is not None and translation.get("type"):
            messages.append(f"{path.name}: {key} is marked {translation.get('type')}")
        table[key] = text
    return table


def family(key):
    """What makes a literal look like a key of the tables: its first two parts; for the command line's texts, the first."""
    parts = key.split(".")
    if parts[0] == "cli":
        return "cli"
    return ".".join(parts[:2]) if len(parts) >= 3 else None


def code_literals(root):
    """Yields (file, line, literal, is an argument of a lookup) of everything under src."""
    for path in sorted((root / "src").rglob("*")):
        if path.suffix not in (".h", ".cpp", ".qml", ".in"):
            continue
        text = path.read_text(encoding="utf-8")
        text = RAW_STRING.sub(lambda m: "\n" * m.group(0).count("\n"), text)
        text = COMMENT.sub(lambda m: m.group(1) or "\n" * m.group(0).count("\n"), text)
        looked_up = {m.start(1) for m in LOOKUP.finditer(text) if not m.group(2)}
        for match in LITERAL.finditer(text):
            line = text.count("\n", 0, match.start()) + 1
            yield path.relative_to(root), line, match.group(1), match.start(1) in looked_up


def check(root):
    root = pathlib.Path(root)
    messages = []
    tables = {}
    for path in sorted((root / "resources" / "i18n").glob("quillmere_*.ts")):
        tables[path.stem.removeprefix("quillmere_")] = read_table(path, messages)
    if SOURCE_LANGUAGE not in tables or len(tables) < 2:
        return messages + ["resources/i18n: the English table and at least one more are expected"]

    keys = set().union(*tables.values())
    for language, table in tables.items():
        for key in sorted(keys - table.keys()):
            messages.append(f"quillmere_{language}.ts: no text for {key}")
    source = tables[SOURCE_LANGUAGE]
    for language, table in tables.items():
        for key in sorted(table.keys() & source.keys()):
            wanted, found = (set(PLACEHOLDER.findall(t[key])) for t in (source, table))
            if wanted != found:
                messages.append(f"quillmere_{language}.ts: {key} has other placeholders than the English text")

    families = {family(key) for key in keys} - {None}
    used = set()
    for path, line, literal, is_lookup in code_literals(root):
        if literal in keys:
            used.add(literal)
        elif PREFIX.match(literal):
            used.update(key for key in keys if key.startswith(literal))
        elif is_lookup or (KEY.match(literal) and family(literal) in families):
            messages.append(f"{path}:{line}: no table has a text for {literal}")
    for key in sorted(keys - used):
        if not key.startswith(WITHOUT_USE_YET):
            messages.append(f"resources/i18n: nothing uses {key}")
    return messages


def main():
    root = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parents[2]
    messages = check(root)
    for message in messages:
        print(message, file=sys.stderr)
    return 1 if messages else 0


if __name__ == "__main__":
    sys.exit(main())
