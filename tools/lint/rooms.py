"""Every room says what it is for, and a file is named after its class."""
import re

from layering import room_of

_TYPE = re.compile(r"^(?:template\s*<[^{};]*>\s*)?(?:\[\[[^\]]*\]\]\s*)?(class|struct|enum class|enum|concept)\s+(?:\[\[[^\]]*\]\]\s*)?(\w+)"
                   r"(?=[^;{}()]*\{)", re.M)

_FREE_FUNCTION = re.compile(r"^(?:template\s*<[^;{}]*>\s*)?(?!class\b|struct\b|using\b|#)[A-Za-z][\w:<>,&*\s]*\s[&*]?\w+\([^;{}]*\)[^;{}()]*[;{]", re.M)


def check(tree):
    findings = []
    rooms = {}
    for file in tree.code_under("src/"):
        room = room_of(file.path[len("src/"):])
        if room:
            rooms.setdefault(room, file.path)
    for room, example in sorted(rooms.items()):
        if "src/%s/README.md" % room not in tree.by_path:
            findings.append((example, 1, "the room src/%s has no README.md" % room))
    for file in tree.code_under("src/"):
        if file.path.endswith(".h"):
            findings += _name(file)
    return findings


def _name(file):
    """A header with classes has one that bears its name (headers of plain values and of functions are free)."""
    stem = file.path.rsplit("/", 1)[-1][:-2]
    hidden = _hidden_regions(file.code)
    types = [(match.start(), match.group(1), match.group(2)) for match in _TYPE.finditer(file.code)
             if not any(begin < match.start() < end for begin, end in hidden)]
    classes = [(at, name) for at, kind, name in types if kind == "class"]
    if not classes or any(name == stem for _, _, name in types):
        return []
    # A header of functions, whose classes only help them.
    if _FREE_FUNCTION.search(file.code):
        return []
    line = file.line_of(classes[0][0])
    if file.allows(line, "name"):
        return []
    return [(file.path, line, "class %s stands in a file named %s" % (classes[0][1], stem))]


def _hidden_regions(code):
    """What stands inside `namespace detail`."""
    regions = []
    for match in re.finditer(r"\bnamespace\s+(?:\w+::)*detail\s*\{", code):
        depth, at = 1, match.end()
        while at < len(code) and depth:
            depth += {"{": 1, "}": -1}.get(code[at], 0)
            at += 1
        regions.append((match.end(), at))
    return regions
