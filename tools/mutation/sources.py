"""The text of C++ sources: where comments, macro calls and statements stand."""

import re

_TOKEN = re.compile(
    rb'//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"'
    rb"|(?<![0-9a-fA-F])'(?:\\.|[^'\\\n])+'", re.S)
_MACRO = re.compile(rb'^#define ([A-Z][A-Z0-9_]*)\(', re.M)
_STRING = re.compile(rb'"(?:\\.|[^"\\\n])*"')
_CLOSING = {ord('('): ord(')'), ord('['): ord(']'), ord('{'): ord('}')}


def blank(text: bytes, strings: bool = True) -> bytes:
    """The text with spaces in the place of comments, and of what strings hold."""
    def spaces(match):
        token = match.group()
        if token[:1] == b'/':
            return re.sub(rb'[^\n]', b' ', token)
        if not strings:
            return token
        return token[:1] + re.sub(rb'[^\n]', b' ', token[1:-1]) + token[-1:]
    return _TOKEN.sub(spaces, text)


def flat(text: bytes) -> bytes:
    """The text on one line, without comments."""
    return re.sub(rb'\s*\n\s*', b' ', blank(text, strings=False)).strip()


def macro_names(texts) -> set:
    """Of the function-like macros that these texts define."""
    return {name for text in texts for name in _MACRO.findall(text)}


class Source:
    """One file: its text, and the same blanked for looking around in it."""

    def __init__(self, name: str, text: bytes, macros: set):
        self.name = name
        self.text = text
        self.blanked = self._without_directives(blank(text))
        names = b'|'.join(sorted(macros, key=len, reverse=True))
        self.macro_calls = [
            (m.start(), self.matching(m.end() - 1) + 1)
            for m in re.finditer(rb'\b(?:' + names + rb')\(', self.blanked)
        ] if names else []

    @staticmethod
    def _without_directives(text: bytes) -> bytes:
        return re.sub(rb'^[ \t]*#(?:[^\n]*\\\n)*[^\n]*',
                      lambda m: re.sub(rb'[^\n]', b' ', m.group()), text, flags=re.M)

    def matching(self, opening: int) -> int:
        """Where the bracket that opens here is closed."""
        open_, close = self.blanked[opening], _CLOSING[self.blanked[opening]]
        depth = 0
        for place in range(opening, len(self.blanked)):
            if self.blanked[place] == open_:
                depth += 1
            elif self.blanked[place] == close:
                depth -= 1
                if depth == 0:
                    return place
        raise ValueError(f'{self.name}: unbalanced at {opening}')

    def statement_end(self, start: int) -> int:
        """Behind the semicolon that ends the simple statement here."""
        place = start
        while self.blanked[place:place + 1] != b';':
            byte = self.blanked[place]
            place = self.matching(place) + 1 if byte in _CLOSING else place + 1
        return place + 1

    def semicolon_behind(self, end: int):
        """Behind the semicolon that follows, if one does."""
        found = re.compile(rb'\s*;').match(self.blanked, end)
        return found.end() if found else None

    def before(self, start: int) -> bytes:
        """The last character before this place that is no space."""
        return self.blanked[:start].rstrip()[-1:]

    def macro_call_at(self, place: int):
        for start, end in self.macro_calls:
            if start <= place < end:
                return start, end
        return None

    def strings_in(self, start: int, end: int):
        """The string literals between these places, as (start, end)."""
        for match in _STRING.finditer(blank(self.text, strings=False), start, end):
            yield match.start(), match.end()

    def line_of(self, place: int) -> int:
        return self.text.count(b'\n', 0, place) + 1

    def lines_around(self, start: int, end: int):
        """Where the whole lines that hold this piece begin and end."""
        first = self.text.rfind(b'\n', 0, start) + 1
        last = self.text.find(b'\n', max(start, end - 1))
        return first, len(self.text) if last < 0 else last


def other_text(literal: bytes):
    """The string literal with one character changed, and as long; None if there is
    none that can be."""
    masked = re.sub(rb'\\.|%[a-z]|\{[^}]*\}', lambda m: b' ' * len(m.group()), literal)
    start = masked.find(b'"')
    found = re.compile(rb'[A-Za-z0-9]').search(masked, start)
    if found is None:
        found = re.compile(rb'[^ "]').search(masked, start + 1)
        if found is None:
            return None
        return literal[:found.start()] + b'~' + literal[found.end():]
    byte = found.group()
    if byte.isdigit():
        other = b'%d' % ((int(byte) + 1) % 10)
    else:
        other = b'a' if byte == b'z' else b'A' if byte == b'Z' else bytes([byte[0] + 1])
    return literal[:found.start()] + other + literal[found.end():]
