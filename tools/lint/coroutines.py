"""Shapes of full expressions with co_await that g++ 12 compiles into a double free.

Heuristic: it sees no types. What it cannot know it reports; a line that is fine for a reason carries
`lint-allow(coroutine): reason`. The cure is always the same: name the argument or the task first.
"""
import re

RULE = "coroutine"
# Braces around these hold nothing that needs a destructor.
TRIVIAL = {"Duration", "TimePoint", "Cancelled"}
_BLOCK_WORDS = re.compile(r"(?:\b(?:else|do|try|const|noexcept|mutable|override|final)|[):;{}])\s*$")
_CAPTURE = re.compile(r"\[([^\[\]]*)\]\s*(?=[({<]|mutable\b|noexcept\b|->)")
_TYPED_BRACE = re.compile(r"(?<![\w:.])((?:\w+::)*[A-Z]\w*)(?:<[^<>;]*(?:<[^<>;]*>[^<>;]*)?>)?\s*\{")
_BARE_BRACE = re.compile(r"[(,]\s*\{")
_PLAIN_CHOICE = re.compile(r"\?\s*(?:-?[\d.']+\w*|true|false)\s*:\s*(?:-?[\d.']+\w*|true|false)\b")
_OPEN, _CLOSE = "([{", ")]}"


def check(tree):
    findings = []
    for file in tree.code_under("src/", "tests/"):
        if "co_await" in file.code:
            findings += _check_file(file)
    return findings


def _check_file(file):
    code = file.code
    partner = _partners(code)
    blocks = {at for at in partner if code[at] == "{" and _is_block(code, at, partner)}
    findings, seen = [], set()
    for match in re.finditer(r"\bco_await\b", code):
        begin, end = _full_expression(code, match.start(), partner, blocks)
        if begin in seen:
            continue
        seen.add(begin)
        expression = _without_blocks(code, begin, end, partner, blocks)
        for offset, message in _shapes(expression, begin, blocks):
            line = file.line_of(offset)
            if not file.allows(line, RULE):
                findings.append((file.path, line, message))
    return findings


def _shapes(expression, begin, blocks):
    for match in _CAPTURE.finditer(expression):
        before = expression[:match.start()].rstrip()
        is_subscript = bool(re.search(r"[\w)\]\"]$", before)) and not re.search(r"\b(?:return|co_return|co_await|co_yield)$", before)
        items = [item.strip() for item in match.group(1).split(",")]
        if not is_subscript and any(item and not item.startswith("&") and item != "this" for item in items):
            yield begin + match.start(), "a lambda that captures by value in a full expression with co_await: name the task first"
    for match in _TYPED_BRACE.finditer(expression):
        if begin + match.end() - 1 in blocks or match.group(1).split("::")[-1] in TRIVIAL:
            continue
        yield begin + match.start(), "a braced temporary (%s) in a full expression with co_await: name it first" % match.group(1)
    for match in _BARE_BRACE.finditer(expression):
        if begin + match.end() - 1 not in blocks:
            yield begin + match.start(), "a braced temporary in a full expression with co_await: name it first"
    for match in re.finditer(r"\?", expression):
        if _PLAIN_CHOICE.match(expression, match.start()):
            continue
        yield begin + match.start(), "?: in a full expression with co_await: choose in a statement of its own"


def _partners(code):
    """Offset of every bracket -> offset of its partner."""
    partner, stack = {}, []
    for match in re.finditer(r"[(){}\[\]]", code):
        char, at = match.group(0), match.start()
        if char in _OPEN:
            stack.append(at)
        elif stack:
            if code[stack[-1]] == _OPEN[_CLOSE.index(char)]:
                open_at = stack.pop()
                partner[open_at], partner[at] = at, open_at
    return partner


def _is_block(code, at, partner):
    """Statements inside, or nothing but a place where only a block can stand."""
    position, end = at + 1, partner[at]
    while position < end:
        char = code[position]
        if char == ";":
            return True
        if char in _OPEN and position in partner:
            position = partner[position]
        position += 1
    return bool(_BLOCK_WORDS.search(code[max(0, at - 40):at]))


def _full_expression(code, at, partner, blocks):
    begin = at
    while begin > 0:
        char = code[begin - 1]
        if char == ";" or (char == "{" and begin - 1 in blocks):
            break
        if char in _CLOSE and begin - 1 in partner:
            if char == "}" and partner[begin - 1] in blocks and not _is_lambda_body(code, partner[begin - 1]):
                break
            begin = partner[begin - 1]
        else:
            begin -= 1
    end = at
    while end < len(code):
        char = code[end]
        if char == ";" or char == "{" and end in blocks and not _is_lambda_body(code, end):
            break
        if char in _OPEN and end in partner:
            end = partner[end]
        elif char == "}" and partner.get(end) in blocks:
            break
        elif char == ")" and end in partner and re.search(r"\b(?:if|while|for|switch|constexpr)\s*$", code[max(0, partner[end] - 20):partner[end]]):
            break
        end += 1
    return begin, end


def _is_lambda_body(code, brace):
    return bool(re.search(r"\]\s*(?:\([^;{}]*\))?\s*(?:mutable|noexcept|\s)*(?:->\s*[\w:<>*&, ]+)?\s*$", code[max(0, brace - 300):brace]))


def _without_blocks(code, begin, end, partner, blocks):
    """The expression with the bodies of lambdas blanked: they are statements of their own."""
    pieces, position = [], begin
    while position < end:
        if position in blocks and partner[position] < end:
            close = partner[position]
            pieces.append("{" + " " * (close - position - 1) + "}")
            position = close + 1
        else:
            pieces.append(code[position])
            position += 1
    return "".join(pieces)
