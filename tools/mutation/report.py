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
    """Tried, killed, equivalent, harmless, survived, unreached: the last two without a
    reason."""
    left = [(s, v.how) for s, v in tried if v.how != 'killed']
    equivalent = sum(explained.is_equivalent(s) for s, _ in left)
    unexplained = [how for s, how in left if explained.reason(s) is None]
    return [len(tried), len(tried) - len(left), equivalent,
            len(left) - equivalent - len(unexplained),
            unexplained.count('survived'), unexplained.count('unreached')]


def _share(killed: int, tried: int) -> str:
    return f'{100 * killed / tried:.1f} %' if tried else 'none'


def _of_kind(tried, kind: str) -> str:
    of_kind = [v.how == 'killed' for s, v in tried if s.kind == kind]
    return f'{sum(of_kind)} of {len(of_kind)}' if of_kind else ''


def write(tried, explained, results: dict) -> None:
    print(f'{len(tried)} mutants of {results["places"]} places; {results["tests"]} '
          f'tests of {results["programs"]} programs; {results["minutes"]} min\n')
    head = ['tried', 'killed', 'equivalent', 'harmless', 'survived', 'unreached']
    print(_row(['folder', *head, *KINDS]))
    print(_row(['---'] + ['--:'] * (len(head) + len(KINDS))))
    folders = sorted({_folder(s.file) for s, _ in tried})
    for folder in [*folders, '']:
        here = [(s, v) for s, v in tried if not folder or _folder(s.file) == folder]
        print(_row([f'`{folder}`' if folder else 'all', *_counts(here, explained),
                    *(_of_kind(here, kind) for kind in KINDS)]))
    count, killed, equivalent, harmless, *_ = _counts(tried, explained)
    print(f'\nKilled are {_share(killed, count)} of all, '
          f'{_share(killed, count - equivalent)} without the equivalent ones, '
          f'{_share(killed, count - equivalent - harmless)} without all that have a '
          'reason.')
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
