"""A test that asserts nothing cannot fail; an assertion behind a bare if ends in an else that g++ takes for a mistake."""
import re

_TEST = re.compile(r"^\s*(?:TYPED_TEST(?:_P)?|TEST(?:_F|_P)?)\s*\(\s*(\w+)\s*,\s*(\w+)\s*\)\s*\{", re.M)
_ASSERTION = re.compile(r"\b(?:EXPECT_\w+|ASSERT_\w+|ADD_FAILURE\w*|FAIL|SUCCEED|EXPECT_CALL)\b|\b\w*(?:expect|check|assert|verify)\w*\s*\(",
                        re.I)
_HELPER = re.compile(r"\b(?!if|for|while|switch|catch|TEST)(\w+)\s*\([^;{}]*\)\s*(?:const\s*)?(?:->\s*[\w:<>]+\s*)?\{")
_BARE_IF = re.compile(r"^[ \t]*(?:else )?if \([^\n{;]*\)\s+((?:EXPECT|ASSERT)_\w+)", re.M)


def check(tree):
    findings = []
    for file in tree.code_under("tests/"):
        for match in _BARE_IF.finditer(file.code):
            findings.append((file.path, file.line_of(match.start(1)), "%s behind an if without braces" % match.group(1)))
        # A helper of the same file that asserts does so for the tests that call it.
        helpers = {match.group(1) for match in _HELPER.finditer(file.code)
                   if _ASSERTION.search(file.code[match.end():_end_of_body(file.code, match.end())])}
        for match in _TEST.finditer(file.code):
            body = file.code[match.end():_end_of_body(file.code, match.end())]
            line = file.line_of(match.start(1))
            if not _ASSERTION.search(body) and not helpers & set(re.findall(r"\w+", body)) and not file.allows(line, "assertion"):
                findings.append((file.path, line, "test %s.%s asserts nothing" % match.groups()))
    return findings


def _end_of_body(code, begin):
    depth = 1
    for match in re.compile(r"[{}]").finditer(code, begin):
        depth += 1 if match.group(0) == "{" else -1
        if depth == 0:
            return match.start()
    return len(code)
