"""The copy of the project that mutants are made in, and its build."""

import hashlib
import json
import multiprocessing
import os
import pickle
import re
import shutil
import subprocess
import sys
from pathlib import Path

import finder
import schema
from sources import Source, macro_names

ROOT = Path(__file__).resolve().parents[2]
WORK = ROOT / 'build' / 'mutation'
COPY = WORK / 'src'
BUILD = WORK / 'build'
HERE = Path(__file__).resolve().parent
MUTATED = ('runtime/', 'McastVpnLib/')
FEW_UNITS = 4 # to build for one mutant
TOGETHER = 12 # units that are read in one go
JOBS = os.cpu_count() or 1

_INCLUDE = re.compile(rb'^#include "([^"]+)"', re.M)
_ERROR = re.compile(r'^([^\s:]+):(\d+):(?:\d+:)? (?:fatal )?error: ')
_PLACE = re.compile(r'^(?:In file included from |\s+from )?([^\s:]+):(\d+)[:,]')


class BuildFailed(Exception):
    pass


def _write(path: Path, text: bytes) -> None:
    """Leaves a file that holds this already as it is, so that it is not built anew."""
    if not path.exists() or path.read_bytes() != text:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(text)


def run(command, **options):
    return subprocess.run([str(part) for part in command], text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          check=False, **options)


class Tree:
    def __init__(self):
        self._includes = {}
        listed = subprocess.run(
            ['git', 'ls-files', '-co', '--exclude-standard'], cwd=ROOT, text=True,
            check=True, stdout=subprocess.PIPE).stdout.split('\n')
        self.files = [name for name in listed
                      if (ROOT / name).is_file() and not name.startswith('tools/')]
        texts = {name: (ROOT / name).read_bytes() for name in self.files
                 if name.startswith(MUTATED) and name.endswith(('.h', '.cpp'))}
        macros = macro_names(texts.values())
        self.sources = {name: Source(name, text, macros)
                        for name, text in texts.items()}

    # --- the copy ------------------------------------------------------------

    def copy(self) -> None:
        for name in self.files:
            if name not in self.sources:
                _write(COPY / name, (ROOT / name).read_bytes())
                shutil.copymode(ROOT / name, COPY / name)
        if not BUILD.exists():
            self.write([]) # what there is to configure
        known = set(self.files)
        for path in COPY.rglob('*'):
            if path.is_file() and str(path.relative_to(COPY)) not in known:
                path.unlink()

    def write(self, numbered, only=None, rebuilt=None) -> None:
        """Writes the sources with these mutants, as (number, site)."""
        of_file = {}
        for number, site in numbered:
            of_file.setdefault(site.file, []).append((number, site))
        for name, source in self.sources.items():
            if only is None or name == only:
                _write(COPY / name, schema.rewrite(
                    source.text, of_file.get(name, []), str(HERE / 'Mutant.h'), rebuilt))

    # --- places --------------------------------------------------------------

    def find_sites(self) -> list:
        commands = json.loads((BUILD / 'compile_commands.json').read_text())
        units = {}
        for command in commands:
            name = os.path.relpath(command['file'], COPY)
            if name in self.sources:
                text = command['command'].replace(str(COPY), str(ROOT))
                units[name] = finder.arguments_of(text.split())
        cache = WORK / 'sites.pickle'
        known = pickle.loads(cache.read_bytes()) if cache.exists() else {}
        work = {self._digest(*item): item for item in self._assign(units)}
        new = [key for key in work if key not in known]
        with multiprocessing.Pool(JOBS) as pool:
            known.update(zip(new, pool.starmap(
                self._find, [work[key] for key in new], chunksize=1)))
        cache.write_bytes(pickle.dumps({key: known[key] for key in work}))
        found = {site.place(): site for key in work for site in known[key]}
        return list(found.values())

    def _digest(self, units, arguments, names) -> str:
        """Of everything that the places in these files depend on."""
        digest = hashlib.sha256(repr((units, arguments, names)).encode())
        read = [HERE / f'{module}.py' for module in ('finder', 'mutants', 'sources')]
        seen = {name for one in names for name in (one, *self._included(one))}
        for file in [*read, *(ROOT / name for name in sorted(seen))]:
            digest.update(file.read_bytes())
        return digest.hexdigest()

    def _assign(self, units: dict) -> list:
        """Which files are read in one go: (names of .cpp files, arguments, names of
        all whose places are wanted). Headers take the time, so some go together."""
        left = {name for name in self.sources if name.endswith('.h')}
        of_folder = {}
        for unit, arguments in sorted(units.items()):
            of_folder.setdefault((unit.split('/')[0], *arguments), []).append(unit)
        work = []
        for (_, *arguments), names in of_folder.items():
            for i in range(0, len(names), TOGETHER):
                some = names[i:i + TOGETHER]
                seen = set().union(*map(self._included, some)) & left
                left -= seen
                work.append((some, arguments, [*some, *sorted(seen)]))
        # No unit of the libraries includes these.
        work += [([name], arguments, [name]) for name in sorted(left)]
        return work

    def _included(self, unit: str) -> set:
        """What the unit includes, and what that does."""
        if unit not in self._includes:
            seen, waiting = set(), [unit]
            while waiting:
                for match in _INCLUDE.findall(self.sources[waiting.pop()].text):
                    name = match.decode()
                    for candidate in (name, 'runtime/' + name):
                        if candidate in self.sources and candidate not in seen:
                            seen.add(candidate)
                            waiting.append(candidate)
            self._includes[unit] = seen
        return self._includes[unit]

    def _find(self, units, arguments, names) -> list:
        try:
            return finder.find(
                str(ROOT / 'Together.cpp'),
                ''.join(f'#include "{ROOT / unit}"\n' for unit in units), arguments,
                {str(ROOT / name): self.sources[name] for name in names})
        except finder.NotCompiled:
            # Units may have local names in common.
            if len(units) == 1:
                raise
            half = len(units) // 2
            return [site for some in (units[:half], units[half:])
                    for site in self._find(some, arguments, names)]

    def is_cheap(self, file: str) -> bool:
        """Whether few units need be built anew if the file changes."""
        units = [name for name in self.sources if name.endswith('.cpp')
                 and (name == file or file in self._included(name))]
        return len(units) <= FEW_UNITS

    # --- the build -----------------------------------------------------------

    def configure(self) -> None:
        library = WORK / 'libmutants.so'
        done = run(['c++', '-std=c++20', '-O2', '-fPIC', '-shared', HERE / 'Mutant.cpp',
                    '-o', library])
        if done.returncode == 0:
            # Nothing but the mutants may be wrong with the copy: no warning is of use.
            done = run(['cmake', '-G', 'Ninja', '-S', COPY, '-B', BUILD,
                        '-DCMAKE_BUILD_TYPE=Release', '-DMCAST_BUILD_TESTS=ON',
                        f'-DCMAKE_PREFIX_PATH={ROOT}/build/deps/usr',
                        '-DCMAKE_COMPILE_WARNING_AS_ERROR=OFF',
                        '-DCMAKE_CXX_FLAGS=-w -Wno-narrowing',
                        f'-DCMAKE_CXX_STANDARD_LIBRARIES={library}'])
        if done.returncode != 0:
            raise BuildFailed(done.stdout)

    def build(self, targets=()) -> str:
        """Builds, and returns what a failed build printed."""
        done = run(['ninja', '-C', BUILD, '-j', JOBS, '-k', 0, *targets],
                   env={**os.environ, 'LC_ALL': 'C'})
        (WORK / 'build.log').write_text(done.stdout)
        return done.stdout if done.returncode != 0 else ''

    def build_all(self, numbered: list) -> list:
        """Builds everything with these mutants, without those that do not compile."""
        file = WORK / 'not_compiled.json'
        ids = set(json.loads(file.read_text())) if file.exists() else set()
        for targets in (['McastVpnLib'], []):
            for _ in range(12):
                numbered = [(n, s) for n, s in numbered if s.id not in ids]
                self.write(numbered)
                output = self.build(targets)
                if not output:
                    break
                wrong = self._blamed(output, numbered)
                if not wrong:
                    raise BuildFailed(output[-8000:])
                print(f'{len(wrong)} mutants that do not compile are left out',
                      file=sys.stderr)
                ids |= {s.id for n, s in numbered if n in wrong}
                file.write_text(json.dumps(sorted(ids)))
            else:
                raise BuildFailed('the mutants that do not compile have no end')
        return numbered

    def _blamed(self, output: str, numbered: list) -> set:
        """Those that stand on a line in error or, if an error stands elsewhere, on the
        lines that led there."""
        lines = {}
        for number, site in numbered:
            first, last = site.start, site.end
            if site.form == 'copy':
                first, last = site.middle
            source = self.sources[site.file]
            for line in range(source.line_of(first), source.line_of(last) + 1):
                lines.setdefault((site.file, line), []).append(number)

        def mutants_at(match):
            path = os.path.relpath(os.path.join(BUILD, match[1]), COPY)
            return lines.get((path, int(match[2])), [])

        blamed, around, wants_around = set(), [], False
        for text in output.split('\n'):
            error, place = _ERROR.match(text), _PLACE.match(text)
            if error:
                found = set(mutants_at(error)) or set(around)
                blamed |= found
                wants_around, around = not found, []
            elif place:
                found = mutants_at(place)
                if wants_around and found:
                    blamed |= set(found)
                    wants_around = False
                around += found
            elif text.startswith(('FAILED:', '[')) or ': In ' in text:
                wants_around, around = False, []
        return blamed
