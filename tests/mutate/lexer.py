"""Cuts C++ text into tokens, as far as the search for mutation points needs it."""

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
