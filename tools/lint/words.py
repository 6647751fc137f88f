"""Words, paths and hosts that have no place in this repository."""
import re

# Written so that no pattern matches its own text.
_RULES = [
    (r"\b(?:[Tt]he|[Pp]er|[Ss]ee|[Oo]ur|[Tt]his)\s+spec(?:ification)?s?\b(?!-)", "speaks of the requirements text"),
    (r"\b[Pp]arts?\s+\d{1,2}\.\d{1,2}\b", "speaks of the requirements text"),
    (r"\bspec\.m[d]\b|\bDEVELOPER[S]\.md\b", "names a file that isn't part of the project"),
    (r"(?<![\w.$}-])/wor[k]/|/far[m]/|\.librar[y]\b", "a path of one particular machine"),
    (r"registry\.npmjs|npmjs\.com/package|\bpypi\.org|files\.pythonhosted|\bdeb\.debian|security\.debian\.org"
     r"|\bcrates\.io|index\.crates|static\.crates", "names a package registry's host"),
    (r"\b[Ss]ession[s]? of this (?:workplac[e]|project)|\bsubagen[t]s?\b|\bhelper agen[t]s?\b|\bworkplac[e]\b",
     "speaks of how the work is organised"),
    (r"\b[Ii]ssues?\s+#?\d+\b|\b(?:[Ff]ixe[sd]|[Cc]lose[sd]|[Rr]esolve[sd]|[Rr]efs?)\s+#\d+\b", "speaks of an issue by number"),
    (r"\bTOD[O]\b|\bFIXM[E]\b|\bXX[X]\b|\bHAC[K]\b", "unfinished work: do it, or say it where it is tracked"),
]
_ANY = re.compile("|".join("(?P<r%d>%s)" % (number, pattern) for number, (pattern, _) in enumerate(_RULES)))


def check(tree):
    findings = []
    for file in tree.files:
        if file.path.startswith((".ci/", "third_party/src/")):
            continue
        for match in _ANY.finditer(file.path):
            findings.append((file.path, 1, "the file name %s" % _RULES[int(match.lastgroup[1:])][1]))
        for match in _ANY.finditer(file.text):
            line = file.line_of(match.start())
            if not file.allows(line, "words"):
                findings.append((file.path, line, "'%s' %s" % (match.group(0), _RULES[int(match.lastgroup[1:])][1])))
    return findings
