"""Finds the places of a C++ text that can be mutated, and their mutations.

Relies on the layout that clang-format gives to this tree: a binary operator has white space on both
sides, which tells a comparison from template arguments and a product from a pointer.
"""

import re
from dataclasses import dataclass

_TOKEN = re.compile(
    r"""
      (?P<space>   \s+ )
    | (?P<comment> //(?:[^\n\\]|\\(?:.|\n))* | /\*.*?\*/ )
    | (?P<string>  (?:u8|[uUL])?R"(?P<mark>[^()\\\s]*)\(.*?\)(?P=mark)"\w*
                 | (?:u8|[uUL])?"(?:[^"\\\n]|\\.)*"\w* )
    | (?P<char>    (?:u8|[uUL])?'(?:[^'\\\n]|\\.)+' )
    | (?P<number>  \.?\d(?:[eEpP][+-]|'?[\w.])* )
    | (?P<word>    [A-Za-z_]\w* )
    | (?P<sign>    <<=|>>=|<=>|\.\.\.|->\*|::|->|\+\+|--|<<|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|.)
    """,
    re.VERBOSE | re.DOTALL,
)
_DIRECTIVE = re.compile(r"\#(?:[^\n\\]|\\\r?\n|\\.)*")


@dataclass(frozen=True)
class Token:
    kind: str  # string, char, number, word or sign
    text: str
    start: int
    end: int


def tokens_of(source):
    """The tokens without white space, comments and preprocessor lines. ">>" comes as two signs
    where no space precedes it, as at the end of template arguments."""
    tokens = []
    position = 0
    line_is_empty = True
    while position < len(source):
        if source[position] == "#" and line_is_empty:
            position = _DIRECTIVE.match(source, position).end()
            continue
        match = _TOKEN.match(source, position)
        kind = match.lastgroup if match.lastgroup != "mark" else "string"
        end = match.end()
        if source.startswith(">>", position) and kind == "sign":
            spaced = position > 0 and source[position - 1].isspace()
            end = position + 2 if spaced and source[position + 2 : position + 3] != "=" else end
            end = end if spaced else position + 1
        text = source[position:end]
        if kind == "space":
            line_is_empty = line_is_empty or "\n" in text
        elif kind != "comment":
            tokens.append(Token(kind, text, position, end))
            line_is_empty = False
        position = end
    return tokens


def partners_of(tokens):
    """For the index of every bracket ( [ { the index of the one that closes it, and back."""
    partners = {}
    opened = []
    for index, token in enumerate(tokens):
        if token.kind == "sign" and token.text in "([{":
            opened.append(index)
        elif token.kind == "sign" and token.text in ")]}" and opened:
            partners[index] = opened.pop()
            partners[partners[index]] = index
    return partners


SWAPS = {
    "comparison": {"==": ["!="], "!=": ["=="], "<": ["<=", ">="], "<=": ["<", ">"],
                   ">": [">=", "<="], ">=": [">", "<"]},
    "logic": {"&&": ["||"], "||": ["&&"]},
    "arithmetic": {"+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["*"], "+=": ["-="],
                   "-=": ["+="], "*=": ["/="], "/=": ["*="], "&": ["|"], "|": ["&"], "^": ["&"],
                   "&=": ["|="], "|=": ["&="], "<<": [">>"], ">>": ["<<"]},
}
UNARY_SWAPS = {"++": ["--"], "--": ["++"], "!": [""]}
WORD_SWAPS = {"true": ["false"], "false": ["true"]}

# The arguments of these are no behaviour.
UNSEEN = {"static_assert", "assert", "decltype", "noexcept", "alignas", "Q_ASSERT", "Q_ASSERT_X"}
# Statements with these have no effect, or mark unreachable code.
NO_CALL = {"static_assert", "assert", "abort", "terminate", "__builtin_unreachable"}
NOT_A_CALL = {"return", "throw", "delete", "using", "case", "if", "while", "for", "switch", "goto",
              "co_return", "co_await", "co_yield", "sizeof", "operator", "new", "do", "else"}
SCOPES = {"class", "struct", "union", "enum", "namespace", "extern"}


@dataclass(frozen=True, order=True)
class Point:
    path: str  # relative to the project
    start: int  # in characters
    end: int
    after: str
    kind: str
    line: int
    before: str
    text: str  # of the line that it begins in

    def change(self):
        before, after = (" ".join(text.split()) for text in (self.before, self.after))
        return f"{self.kind}: {before} -> {after or '(nothing)'}"

    def describe(self):
        return f"{self.path}:{self.line}: {self.change()}"


def equivalents(root):
    """The points that root's list names, as path, change and text of the line. A reason begins with
    "# " and holds for the lines below it; a line may have several constants: "1 -> 0 or 2"."""
    points = set()
    for line in (root / "tests/mutate/equivalents.txt").read_text().splitlines():
        if not line.startswith("# "):
            path, change, text = line.split("\t")
            before, _, after = change.rpartition(" -> ")
            points |= {(path, f"{before} -> {one}", text) for one in after.split(" or ")}
    return points


class Finder:
    def __init__(self, path, source):
        self.path = path
        self.source = source
        self.tokens = tokens_of(source)
        self.partners = partners_of(self.tokens)
        self.skipped = self._skipped()
        self.found = set()

    def points(self):
        for index, token in enumerate(self.tokens):
            if index in self.skipped:
                continue
            self._operator(index, token)
            self._constant(index, token)
            self._condition(index, token)
        self._calls()
        return sorted(self.found)

    # --- shared functions

    def _text(self, index):
        return self.tokens[index].text if 0 <= index < len(self.tokens) else ""

    def _add(self, kind, first, last, after):
        start, end = self.tokens[first].start, self.tokens[last].end
        line = self.source.count("\n", 0, start) + 1
        before = self.source[start:end]
        text = self.source.splitlines()[line - 1].strip()
        self.found.add(Point(self.path, start, end, after, kind, line, before, text))

    def _is_binary(self, index):
        token = self.tokens[index]
        spaced = self.source[token.start - 1 : token.start].isspace()
        return spaced and self.source[token.end : token.end + 1].isspace()

    def _skipped(self):
        """Tokens in template parameters, attributes, compile-time conditions and assertions."""
        skipped = set()
        for index, token in enumerate(self.tokens):
            following = self._text(index + 1)
            if token.text == "template" and following == "<":
                skipped.update(range(index, self._end_of_angles(index + 1) + 1))
            elif token.text == "[" and following == "[":
                skipped.update(range(index, self.partners[index] + 1))
            elif token.text == "if" and following == "constexpr":
                skipped.update(range(index, self.partners[index + 2] + 1))
            elif token.text in UNSEEN and following == "(":
                skipped.update(range(index, self.partners[index + 1] + 1))
            elif token.text == "extern" and self.tokens[index + 1].kind == "string":
                skipped.update((index, index + 1))
            elif token.text == "operator":
                skipped.add(index + 1)
            elif token.text == "=" and following == "0" and self._text(index + 2) == ";":
                if self._text(index - 1) in (")", "const", "noexcept"):
                    skipped.add(index + 1)
        return skipped

    def _end_of_angles(self, index):
        depth = 0
        while index < len(self.tokens):
            depth += {"<": 1, ">": -1}.get(self._text(index), 0)
            if depth == 0:
                return index
            index += 1
        return index

    # --- operators and constants

    def _operator(self, index, token):
        if token.kind != "sign":
            return
        if token.text in UNARY_SWAPS:
            for after in UNARY_SWAPS[token.text]:
                self._add("logic" if token.text == "!" else "arithmetic", index, index, after)
        elif self._is_binary(index) and not self._joins_text(index):
            for kind, swaps in SWAPS.items():
                for after in swaps.get(token.text, []):
                    self._add(kind, index, index, after)

    def _joins_text(self, index):
        """A "+" beside a string literal, which has no other operator to become."""
        sides = self.tokens[index - 1 : index] + self.tokens[index + 1 : index + 2]
        return self._text(index) in ("+", "+=") and any(side.kind == "string" for side in sides)

    def _constant(self, index, token):
        if re.fullmatch(r"0[0-7]+", token.text):
            return  # the mode of a file: its last bit is others' business
        if token.kind == "number":
            for after in _numbers_beside(token.text):
                self._add("constant", index, index, after)
        elif token.kind in ("string", "char"):
            self._add("constant", index, index, _other_text(token.text))
        elif token.kind == "word":
            for after in WORD_SWAPS.get(token.text, []):
                self._add("constant", index, index, after)

    # --- conditions

    def _condition(self, index, token):
        if token.text in ("if", "while", "for") and self._text(index + 1) == "(":
            first, last = index + 2, self.partners[index + 1] - 1
            semicolons = self._at_top(first, last, {";"})
            if token.text == "for":
                if len(semicolons) != 2:
                    return
                first, last = semicolons[0] + 1, semicolons[1] - 1
            elif semicolons:
                first = semicolons[-1] + 1
            self._force(first, last, loops=token.text != "if")
        elif token.kind == "sign" and token.text == "?":
            self._force(self._start_of_choice(index), index - 1, loops=False)

    def _force(self, first, last, loops):
        if first > last or self._at_top(first, last, {"="}):
            return  # no condition, or one that declares a variable
        if first == last and self._text(first) in WORD_SWAPS:
            return
        text = self.source[self.tokens[first].start : self.tokens[last].end]
        self._add("condition", first, last, "false")
        if not loops:  # a loop that never ends shows nothing but a time-out
            self._add("condition", first, last, "true")
        if not self._is_turned_by_its_operator(first, last):
            self._add("condition", first, last, f"!({text})")

    def _is_turned_by_its_operator(self, first, last):
        if self._at_top(first, last, {"&&", "||"}):
            return False
        return self._text(first) == "!" or bool(self._at_top(first, last, SWAPS["comparison"]))

    def _at_top(self, first, last, texts):
        """The indexes of these signs from first to last, except those in brackets."""
        found = []
        index = first
        while index <= last:
            if self.tokens[index].kind == "sign":
                if self._text(index) in texts:
                    if self._text(index) not in "<>" or self._is_binary(index):
                        found.append(index)
                elif self._text(index) in "([{":
                    index = self.partners.get(index, index)
            index += 1
        return found

    def _start_of_choice(self, index):
        index -= 1
        while index >= 0:
            text = self._text(index)
            if self.tokens[index].kind == "sign" and text in ")]}":
                index = self.partners[index]
            elif text in ("(", "[", "{", ",", ";", "=", "+=", "-=", "?", ":", "return"):
                return index + 1
            index -= 1
        return 0

    # --- calls that are statements

    def _calls(self):
        stack = ["scope"]
        for index, token in enumerate(self.tokens):
            if token.text == "{" and token.kind == "sign":
                stack.append(self._block(index, stack[-1]))
            elif token.text == "}" and token.kind == "sign" and len(stack) > 1:
                stack.pop()
            if stack[-1] == "code" and index not in self.skipped and self._begins(index):
                end = self._end_of_call(index)
                if end:
                    self._add("call", index, end, "")

    def _block(self, index, around):
        """The kind of block that a "{" opens: code, or a scope of declarations."""
        head = index - 1
        words = set()
        while head >= 0 and self._text(head) not in (";", "{", "}"):
            if head not in self.skipped:
                words.add(self._text(head))
            head = self.partners[head] - 1 if self._text(head) == ")" else head - 1
        if words & SCOPES:
            return "scope"
        if around == "code":
            return "code"
        endings = (")", "const", "noexcept", "override", "final", "&", "&&", "}", "]", "mutable")
        return "code" if self._text(index - 1) in endings or "->" in words else "scope"

    def _begins(self, index):
        """Whether a statement begins here."""
        before = self._text(index - 1)
        if before in (";", "{", "}", "else", "do"):
            return True
        if before == ":":
            return self._text(index - 3) == "case" or self._text(index - 2) == "default"
        if before == ")":
            return self._text(self.partners[index - 1] - 1) in ("if", "while", "for")
        return False

    def _end_of_call(self, index):
        """The index of the bracket that ends the call, when the statement is nothing else."""
        names = set()
        is_call = False
        last = ""
        while index < len(self.tokens):
            token = self.tokens[index]
            if token.text == ";":
                return index - 1 if is_call and not names & (NO_CALL | NOT_A_CALL) else None
            if token.kind == "word" and last in ("", "::", ".", "->", "*"):
                names.add(token.text)
                is_call = False
            elif token.text in ("(", "[") and last != "":
                is_call = token.text == "("
                index = self.partners[index]
            elif token.text == "<" and not self._is_binary(index):
                index = self._end_of_angles(index)
            elif token.text not in ("::", ".", "->"):
                return None
            last = self._text(index)
            index += 1
        return None


def _numbers_beside(text):
    match = re.fullmatch(r"(0[xX])?([0-9a-fA-F']+)([uUlLzZ]*)|(\d+)(\.\d*)(\w*)|(\d+)(\w+)", text)
    if not match:
        return []
    prefix, digits, suffix, whole, fraction, real_suffix, amount, unit = match.groups()
    if whole is not None:
        return [f"{int(whole) + step}{fraction}{real_suffix}" for step in (1, -1)]
    if amount is not None:
        return [f"{int(amount) + step}{unit}" for step in (1, -1)]
    digits = digits.replace("'", "")
    if not prefix and len(digits) > 1 and digits[0] == "0":
        value = int(digits, 8)
        return [f"0{value + step:o}{suffix}" for step in (1, -1)]
    value = int(digits, 16 if prefix else 10)
    if not prefix:
        return [f"{value + step}{suffix}" for step in (1, -1)]
    return [f"0x{value + step:x}{suffix}" for step in (1, -1) if value + step >= 0]


def _other_text(text):
    """The literal with its middle letter or digit changed, or with one more if it has none."""
    quote = text[-1] if text[-1] in "\"'" else '"'
    first = text.index(quote) + 1
    last = text.rindex(quote)
    if "R" in text[: first - 1]:
        first, last = text.index("(") + 1, text.rindex(")")
    body = text[first:last]
    plain = re.sub(r"\\(?:x[0-9a-fA-F]+|[0-7]+|.)", lambda match: "\0" * len(match.group()), body)
    letters = [index for index, letter in enumerate(plain) if re.match(r"[A-Za-z0-9]", letter)]
    if letters:
        place = letters[len(letters) // 2]
        other = "y" if body[place] == "x" else "x"
        body = body[:place] + other + body[place + 1 :]
    else:
        body = "x" if quote == "'" else body + "x"
    return text[:first] + body + text[last:]
