"""Rewrites a file so that all its mutants are there at once, switched at run time."""

_CLOSES, _BETWEEN, _OPENS = range(3)


def _edits(index: int, number: int, site):
    """What a mutant inserts: (place, rank, text, length of what it replaces). The rank
    sees to it that mutants inside one another stay so."""
    parts = [part.replace('@', str(number)) for part in site.parts]
    opens = (_OPENS, -site.end, index)
    closes = (_CLOSES, -site.start, -index)
    if site.form == 'wrap':
        return [(site.start, opens, parts[0], 0), (site.end, closes, parts[1], 0)]
    if site.form == 'operator':
        first, last = site.middle
        return [(site.start, opens, parts[0], 0),
                (first, (_BETWEEN, 0, 0), ',', last - first),
                (site.end, closes, parts[1], 0)]
    if site.form == 'declared':
        return [(site.end, closes, parts[0], 0)]
    if site.form == 'copy':
        first, last = site.middle
        return [(first, (_OPENS, -last, index), parts[0], 0),
                (last, (_CLOSES, -first, -index), parts[1], 0)]
    if site.form == 'swap':
        i = f'mutationStep{number}'
        start = (f'for (int {i} = 0; {i} < 2; ++{i}) '
                 f'{{ if ({i} == int{{::Mutation::mutant({number})}}) {{ ')
        return [(site.start, opens, start, 0),
                (site.middle[0], (_BETWEEN, 0, 0), '} else { ', 0),
                (site.end, closes, ' } }', 0)]
    raise ValueError(site.form)


def rewrite(text: bytes, numbered: list, header: str, rebuilt=None) -> bytes:
    """The text of a file with its mutants, as (number, site), and with one that has
    no form in it, if there is one. Lines keep their numbers."""
    edits = []
    for index, (number, site) in enumerate(numbered):
        edits += _edits(index, number, site)
    if rebuilt is not None:
        edits.append((rebuilt.start, (_BETWEEN, 0, 0), rebuilt.replacement.decode(),
                      rebuilt.end - rebuilt.start))
    pieces = [f'#include "{header}"\n#line 1\n'.encode()] if numbered else []
    place = 0
    for start, _, inserted, length in sorted(edits, key=lambda e: e[:2]):
        pieces += [text[place:start], inserted.encode()]
        place = start + length
    return b''.join([*pieces, text[place:]])
