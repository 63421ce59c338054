"""Prints what became of the mutants, as Markdown."""

import dataclasses

from mutants import KINDS


def record(site, verdict) -> dict:
    return {'id': site.id, 'file': site.file, 'line': site.line, 'kind': site.kind,
            'function': site.function, 'before': site.before, 'after': site.after,
            'form': site.form, 'verdict': dataclasses.asdict(verdict)}


def _folder(file: str) -> str:
    return file.rsplit('/', 1)[0]


def _row(cells) -> str:
    return '| ' + ' | '.join(str(cell) for cell in cells) + ' |'


def _counts(tried, explained) -> list:
    """Tried, killed, explained, survived, unreached: the last two without a reason."""
    killed = sum(v.how == 'killed' for _, v in tried)
    reasons = sum(v.how != 'killed' and explained.reason(s) is not None
                  for s, v in tried)
    left = [v.how for s, v in tried if v.how != 'killed' and explained.reason(s) is None]
    return [len(tried), killed, reasons, left.count('survived'), left.count('unreached')]


def _of_kind(tried, kind: str) -> str:
    of_kind = [v.how == 'killed' for s, v in tried if s.kind == kind]
    return f'{sum(of_kind)} of {len(of_kind)}' if of_kind else ''


def write(tried, explained, trials, places: int, seconds: float) -> None:
    tests, programs = len(trials.tests), len({t.program for t in trials.tests})
    print(f'{len(tried)} mutants of {places} places; {tests} tests of {programs} '
          f'programs; {seconds / 60:.0f} min\n')
    head = ['tried', 'killed', 'explained', 'survived', 'unreached']
    print(_row(['folder', *head, *KINDS]))
    print(_row(['---'] + ['--:'] * (len(head) + len(KINDS))))
    folders = sorted({_folder(s.file) for s, _ in tried})
    for folder in [*folders, '']:
        here = [(s, v) for s, v in tried if not folder or _folder(s.file) == folder]
        print(_row([f'`{folder}`' if folder else 'all', *_counts(here, explained),
                    *(_of_kind(here, kind) for kind in KINDS)]))
    for how in ('survived', 'unreached'):
        for site, verdict in tried:
            if verdict.how == how:
                _write_survivor(site, verdict, explained.reason(site))


def _write_survivor(site, verdict, reason) -> None:
    print(f'\n{site.file}:{site.line} {site.function}: {site.kind}, {verdict.how} '
          f'({site.id}, {verdict.tests} tests)\n    {site.before}\n'
          f' -> {site.after or "nothing"}')
    if reason:
        print(f'    explained: {reason}')
