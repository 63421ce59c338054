"""A place where one mutant can be made, and what becomes of it there."""

import dataclasses
import hashlib

from sources import flat

CONDITION = 'condition negated'
DROP = 'call dropped'
SWAP = 'order swapped'
BOUNDARY = 'off by one'
CONSTANT = 'constant changed'
TEXT = 'text changed'
KINDS = (CONDITION, DROP, SWAP, BOUNDARY, CONSTANT, TEXT)


@dataclasses.dataclass
class Site:
    """A mutant: the piece of a file between two places, and what replaces it.

    The form says how a build that holds all mutants has it, switched at run time:
      wrap      between two texts, parts[0] and parts[1]
      operator  as wrap, and the operator between middle[0] and middle[1] is a comma
      swap      two statements, the second one from middle[0]
      declared  a condition behind a declaration that ends where the piece does
      copy      the statement between middle[0] and middle[1] twice, once changed
      rebuilt   not at all: what the compiler evaluates gets a build of its own
    In parts, "@" stands for the number of the mutant.
    """
    file: str
    start: int
    end: int
    kind: str
    function: str
    replacement: bytes
    form: str
    parts: tuple = ()
    middle: tuple = ()
    evaluated: bool = False # perhaps by the compiler only, where a switch is off
    line: int = 0
    before: str = ''
    after: str = ''
    id: str = ''

    def place(self) -> tuple:
        return self.file, self.start, self.end, self.kind, self.replacement

    def describe(self, source) -> None:
        """Sets what the report shows, from the source."""
        first, last = source.lines_around(self.start, self.end)
        text = source.text
        changed = (text[first:self.start] + self.replacement + text[self.end:last])
        self.line = source.line_of(self.start)
        self.before = flat(text[first:last]).decode()
        self.after = flat(changed).decode()

    def is_inside(self, other) -> bool:
        return (self.file == other.file
                and other.start <= self.start and self.end <= other.end)

    def key(self) -> tuple:
        """What names the mutant whatever stands around its function."""
        return self.file, self.function, self.kind, self.before, self.after


def number(sites, seed: int) -> None:
    """Gives each an id that other places do not change, from which the order in which
    they are taken follows."""
    seen = {}
    for site in sorted(sites, key=lambda s: (s.file, s.start, s.end, s.kind)):
        nth = seen[site.key()] = seen.get(site.key(), -1) + 1
        text = '\0'.join((str(seed), *site.key(), str(nth)))
        site.id = hashlib.sha256(text.encode()).hexdigest()[:10]


def choose(sites, count: int) -> list:
    """That many, spread over files and kinds: of each kind in each file one, then
    another one, as long as there are any."""
    nth = {}
    ranked = []
    for site in sorted(sites, key=lambda s: s.id):
        group = site.file, site.kind
        nth[group] = nth.get(group, -1) + 1
        ranked.append((nth[group], site.id, site))
    chosen, swapped = [], []
    for _, _, site in sorted(ranked, key=lambda r: r[:2]):
        if len(chosen) == count:
            break
        if site.kind == SWAP:
            # Two that share a statement have no form in one build.
            if any(o.file == site.file and o.start < site.end and site.start < o.end
                   for o in swapped):
                continue
            swapped.append(site)
        chosen.append(site)
    return chosen
