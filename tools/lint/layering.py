"""Arrows between the rooms go one way, and nothing includes itself in a circle."""
import os

# Room -> rooms it may include besides itself. A room that isn't in the table may be included by nobody.
_PORTS = "base domain ports"
_UP_TO_TRANSCRIPTS = (" diagnostics storage audio recording models postprocessing triggers delivery context engine keys projects"
                      " prompts providers rewriting health streaming transcripts")
ROOMS = {
    "base": "",
    "domain": "base",
    "ports": "base domain",
    "diagnostics": _PORTS,
    "storage": _PORTS,
    "audio": _PORTS,
    "recording": _PORTS + " storage audio",
    "models": _PORTS + " storage",
    "postprocessing": _PORTS + " storage",
    "triggers": _PORTS + " storage",
    "delivery": _PORTS + " storage",
    "context": _PORTS + " storage",
    "engine": _PORTS,
    "keys": _PORTS + " storage",
    "projects": _PORTS + " storage context",
    "prompts": _PORTS + " storage context projects",
    "providers": _PORTS + " storage audio models postprocessing engine context keys",
    "rewriting": _PORTS + " storage models postprocessing context keys projects prompts",
    "health": _PORTS + " storage keys",
    "streaming": _PORTS + " storage audio keys",
    "transcripts": _PORTS + " diagnostics storage audio recording models postprocessing context keys projects prompts"
                   " engine providers rewriting health",
    "files": _PORTS + " storage audio models postprocessing providers transcripts",
    "core": _PORTS + _UP_TO_TRANSCRIPTS + " files",
    "interface": _PORTS + _UP_TO_TRANSCRIPTS + " files core",
    "platform/qt": _PORTS,
    "platform/curl": _PORTS,
    "platform/websockets": _PORTS,
    "platform/secretservice": _PORTS,
    "platform/linux": _PORTS,
    "platform/ffmpeg": _PORTS,
    "platform/sndfile": _PORTS,
    "platform/pulse": _PORTS,
    "platform/session": _PORTS,
    "platform/x11": _PORTS,
    "platform/atspi": _PORTS,
    "platform/whisper": _PORTS,
    "platform/ggml": _PORTS,
}
_BELOW_APP = " ".join(ROOMS)
_WITHOUT_ADAPTERS = " ".join(room for room in ROOMS if not room.startswith("platform/"))
# A folder an executable, what they share, and windows that are drawn without the platform's adapters.
ROOMS.update({
    "app/compose": _BELOW_APP,
    "app/windows": _WITHOUT_ADAPTERS,
    "app/launcher": "app/compose",
    "app/cli": _BELOW_APP + " app/compose",
    "app/session": _BELOW_APP + " app/compose app/cli",
    "app/desktop": _BELOW_APP + " app/compose app/windows",
})
# Folders of tests that may see the adapters.
TESTS_WITH_PLATFORM = {"platform", "contract", "app", "desktop", "e2e", "bench", "fuzz", "support"}


# Circles that are being taken apart, and since when they are known. One that is gone goes from here, too.
LEAVING_CIRCLES = {}


def room_of(path):
    """'storage' for 'storage/X.h', 'platform/qt' for 'platform/qt/x/Y.h', 'app/cli' for 'app/cli/X.h'; None outside."""
    parts = path.split("/")
    if len(parts) < 2:
        return None
    if parts[0] in ("platform", "app"):
        return "/".join(parts[:2]) if len(parts) > 2 else None
    return parts[0]


def check(tree):
    findings = []
    graph = {}
    for file in tree.code_under("src/"):
        inside = file.path[len("src/"):]
        room = room_of(inside)
        if room is None:
            findings.append((file.path, 1, "a source file belongs into a room (a folder of src)"))
            continue
        if room not in ROOMS:
            findings.append((file.path, 1, "room '%s' has no row in the table of tools/lint/layering.py" % room))
            continue
        allowed = ROOMS[room].split()
        for line, target, quoted in file.includes:
            if not quoted:
                continue
            if target.startswith("tests/") or ".." in target.split("/"):
                findings.append((file.path, line, "include paths are written relative to src: %s" % target))
                continue
            if "src/" + target not in tree.by_path:
                continue  # generated or foreign
            graph.setdefault(inside, []).append((line, target))
            to = room_of(target)
            if to != room and to not in allowed:
                findings.append((file.path, line, "%s must not include %s (%s)" % (room, to, target)))
    for file in tree.code_under("tests/"):
        folder = file.path.split("/")[1]
        if folder in TESTS_WITH_PLATFORM:
            continue
        for line, target, quoted in file.includes:
            if quoted and target.split("/")[0] in ("platform", "app") and "src/" + target in tree.by_path:
                findings.append((file.path, line, "only tests of %s may include %s"
                                 % (", ".join(sorted(TESTS_WITH_PLATFORM)), target)))
    findings += _file_cycles(graph)
    findings += _folder_cycles(graph)
    return findings


def _file_cycles(graph):
    """A header and its source file are one: neither side of a circle can be read, tested or moved without the other."""
    plain, edges_of = {}, {}
    for path, edges in graph.items():
        node = os.path.splitext(path)[0]
        for line, target in edges:
            to = os.path.splitext(target)[0]
            if to != node or target == path:
                plain.setdefault(node, set()).add(to)
                edges_of.setdefault(node, []).append((path, line, to))
    findings = []
    circles = _components(plain)
    for names in LEAVING_CIRCLES:
        if set(names) <= set(plain) and set(names) not in circles:
            findings.append(("tools/lint/layering.py", 1, "the circle is gone, its entry may go: %s" % ", ".join(names)))
    for members in circles:
        if tuple(sorted(members)) in LEAVING_CIRCLES:
            continue
        path, line, _ = min(edge for edge in edges_of[min(members)] if edge[2] in members)
        findings.append(("src/" + path, line, "files include each other in a circle: %s" % ", ".join(sorted(members))))
    return findings


def _folder_cycles(graph):
    folders, edges_of = {}, {}
    for path, edges in graph.items():
        folder = os.path.dirname(path)
        for line, target in edges:
            to = os.path.dirname(target)
            if to != folder:
                folders.setdefault(folder, set()).add(to)
                edges_of.setdefault((folder, to), (path, line))
    findings = []
    for members in _components(folders):
        for (folder, to), (path, line) in sorted(edges_of.items()):
            if folder in members and to in members:
                findings.append(("src/" + path, line, "folders include each other in a circle: %s -> %s (all: %s)"
                                 % (folder, to, ", ".join(sorted(members)))))
    return findings


def _components(graph):
    """Strongly connected components of more than one node, or of a node with an edge to itself (Tarjan, iterative)."""
    index, low, on_stack, stack, result = {}, {}, set(), [], []
    for root in sorted(graph):
        if root in index:
            continue
        work = [(root, iter(sorted(graph.get(root, ()))))]
        index[root] = low[root] = len(index)
        stack.append(root)
        on_stack.add(root)
        while work:
            node, children = work[-1]
            child = next(children, None)
            if child is None:
                work.pop()
                if work:
                    low[work[-1][0]] = min(low[work[-1][0]], low[node])
                if low[node] == index[node]:
                    members = set()
                    while True:
                        member = stack.pop()
                        on_stack.discard(member)
                        members.add(member)
                        if member == node:
                            break
                    if len(members) > 1 or node in graph.get(node, ()):
                        result.append(members)
            elif child not in index:
                index[child] = low[child] = len(index)
                stack.append(child)
                on_stack.add(child)
                work.append((child, iter(sorted(graph.get(child, ())))))
            elif child in on_stack:
                low[node] = min(low[node], index[child])
    return result
