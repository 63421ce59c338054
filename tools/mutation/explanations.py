"""The list of mutants that no test is to notice, each with its reason."""

import sys
import tomllib

from tree import HERE

# What a reason begins with: whether nothing that a program does is different, or
# something is that no test is to hold fast.
EQUIVALENT = ('Equivalent', 'Unreachable')
HARMLESS = ('Speed only', 'Memory only', 'Quality only', 'Threads only', 'Tests only')


class Explanations:
    """survivors.toml: what names each mutant there is the text before and after, in a
    function of a file, so that entries last while other lines change."""

    def __init__(self, sites):
        with open(HERE / 'survivors.toml', 'rb') as file:
            self._entries = tomllib.load(file).get('mutant', [])
        for entry in self._entries:
            kind, _, text = entry.get('reason', '').partition(': ')
            if kind not in EQUIVALENT + HARMLESS or not text.strip():
                sys.exit('survivors.toml: a reason begins with one of '
                         f'{", ".join(EQUIVALENT + HARMLESS)}, a colon and a blank: '
                         f'{entry}')
        self._reasons = {self._key(e): e['reason'] for e in self._entries}
        existing = {self._name(site) for site in sites}
        self._stale = [key for key in self._reasons if key not in existing]

    @staticmethod
    def _key(entry) -> tuple:
        return entry['file'], entry['function'], entry['before'], entry['after']

    @staticmethod
    def _name(site) -> tuple:
        return site.file, site.function, site.before, site.after

    def reason(self, site):
        return self._reasons.get(self._name(site))

    def is_equivalent(self, site) -> bool:
        reason = self.reason(site)
        return reason is not None and reason.startswith(EQUIVALENT)

    def complain(self, tried) -> bool:
        """Tells what is wrong with the list, and whether any mutant has no reason."""
        wrong = bool(self._stale)
        for key in self._stale:
            print(f'survivors.toml: no mutant is like {key}', file=sys.stderr)
        for site, verdict in tried:
            if verdict.how == 'killed' and self.reason(site) is not None:
                wrong = True
                print(f'survivors.toml: {verdict.test} notices {self._name(site)}',
                      file=sys.stderr)
            wrong |= verdict.how != 'killed' and self.reason(site) is None
        return wrong
