"""The list of mutants that no test is to notice, each with its reason."""

import sys
import tomllib

from tree import HERE


class Explanations:
    """survivors.toml: what names each mutant there is the text before and after, in a
    function of a file, so that entries last while other lines change."""

    def __init__(self, sites):
        with open(HERE / 'survivors.toml', 'rb') as file:
            self._entries = tomllib.load(file).get('mutant', [])
        for entry in self._entries:
            if not entry.get('reason', '').strip():
                sys.exit(f'survivors.toml: no reason for {entry}')
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
