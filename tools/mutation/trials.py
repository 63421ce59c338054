"""Runs tests: what each reaches, and which one notices a mutant."""

import concurrent.futures
import dataclasses
import hashlib
import json
import os
import re
import resource
import signal
import subprocess
import tempfile
import time
from pathlib import Path

from tree import BUILD, JOBS, WORK

# Tests of other builds than this one, or of how often a block of code runs.
LEFT_OUT = re.compile(r'^(Headers|Install)\.')
RANDOM_SECONDS = '3' # of exploration, which CTest gives a minute
MEMORY = 4 << 30
FILE_SIZE = 1 << 28


@dataclasses.dataclass
class Test:
    name: str
    command: list
    folder: str
    seconds: float = 0.0
    reaches: frozenset = frozenset()

    @property
    def program(self) -> str:
        return self.command[0]


@dataclasses.dataclass
class Verdict:
    """What became of a mutant."""
    how: str              # 'killed', 'survived', 'unreached'
    test: str = ''        # that noticed it
    tests: int = 0        # that were run
    seconds: float = 0.0


def _limits() -> None:
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    resource.setrlimit(resource.RLIMIT_FSIZE, (FILE_SIZE, FILE_SIZE))


def _play(test: Test, environment: dict, timeout: float) -> str:
    """Runs a test in a process of its own, as CTest does; 'passed' or what it was."""
    with tempfile.TemporaryDirectory(dir=WORK / 'tmp') as folder:
        process = subprocess.Popen(
            test.command, cwd=test.folder, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env={**os.environ, 'MCAST_TEST_SEED': '1', 'TMPDIR': folder, **environment},
            start_new_session=True, preexec_fn=_limits)
        try:
            status = process.wait(timeout)
        except subprocess.TimeoutExpired:
            status = None
        finally:
            try: # what it has started, and it itself if it hangs
                os.killpg(process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            process.wait()
    if status is None:
        return 'did not end'
    return 'passed' if status == 0 else 'failed' if status > 0 else 'crashed'


def list_tests() -> list:
    shown = json.loads(subprocess.run(
        ['ctest', '--show-only=json-v1'], cwd=BUILD, check=True, text=True,
        stdout=subprocess.PIPE).stdout)
    tests = []
    for entry in shown['tests']:
        command = list(entry.get('command', ()))
        if not command or LEFT_OUT.match(entry['name']):
            continue
        if '--seconds' in command:
            command[command.index('--seconds') + 1] = RANDOM_SECONDS
        folder = next((p['value'] for p in entry['properties']
                       if p['name'] == 'WORKING_DIRECTORY'), str(BUILD))
        tests.append(Test(entry['name'], command, folder))
    return tests


def _digest_of(path: str) -> str:
    return hashlib.sha256(Path(path).read_bytes()).hexdigest()


class Trials:
    """All tests, with what a run without mutants says of each."""

    def __init__(self, mutants: int, budget: float, progress):
        self._mutants = mutants
        self._budget = budget # seconds of tests for one mutant, as without one
        self._progress = progress
        self._kills = {} # by file: how many mutants of it each test has noticed
        (WORK / 'tmp').mkdir(parents=True, exist_ok=True)
        self.broken = []
        self.tests = []
        self._run_all(list_tests())

    def _run_all(self, tests: list) -> None:
        """Tries each test without a mutant, unless its program and the libraries are
        the same as before."""
        libraries = ''.join(_digest_of(str(path)) for path in sorted(
            [*BUILD.glob('*/lib*.so.*.*'), *BUILD.glob('agent/mcastvpn-agent')]))
        programs = {p: _digest_of(p) for p in sorted({t.program for t in tests})}
        file = WORK / 'baseline.json'
        known = json.loads(file.read_text()) if file.exists() else {}

        def key(test):
            text = libraries + programs[test.program] + ' '.join(test.command)
            return hashlib.sha256(text.encode()).hexdigest()

        new = [test for test in tests if key(test) not in known]
        with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
            results = pool.map(self._try, new)
            for count, (test, result) in enumerate(zip(new, results), 1):
                known[key(test)] = result
                self._progress('tests without a mutant', count, len(new))
        file.write_text(json.dumps({key(test): known[key(test)] for test in tests}))
        for test in tests:
            outcome, test.seconds, reached = known[key(test)]
            test.reaches = frozenset(reached)
            (self.tests if outcome == 'passed' else self.broken).append(test)

    def _try(self, test: Test):
        with tempfile.NamedTemporaryFile(dir=WORK / 'tmp') as reached:
            reached.truncate(self._mutants + 1)
            start = time.monotonic()
            outcome = _play(test, {'MUTANTS_REACHED': reached.name}, 600)
            seconds = time.monotonic() - start
            numbers = [i for i, byte in enumerate(reached.read()) if byte]
        return outcome, round(seconds, 3), numbers

    def try_mutant(self, number: int, file: str) -> Verdict:
        return self._verdict(file, {'MUTANT': str(number)},
                             [t for t in self.tests if number in t.reaches])

    def try_rebuilt(self, file: str, numbers: set) -> Verdict:
        """The mutant that is in the build: first what reaches others of its file."""
        near = [t for t in self.tests if not numbers.isdisjoint(t.reaches)]
        verdict = self._verdict(file, {}, near)
        if verdict.how == 'killed':
            return verdict
        names = {t.name for t in near}
        rest = self._verdict(file, {}, [t for t in self.tests if t.name not in names])
        rest.tests += verdict.tests
        rest.how = 'survived' if rest.how == 'unreached' else rest.how
        return rest

    def _verdict(self, file: str, environment: dict, tests: list) -> Verdict:
        if not tests:
            return Verdict('unreached')
        kills = self._kills.setdefault(file, {})
        folders = set(Path(file).parts[:-1])
        start, budget, count = time.monotonic(), self._budget, 0
        for test in sorted(tests, key=lambda t: (
                -kills.get(t.name, 0), self._distance(t, folders), t.seconds)):
            if test.seconds > budget:
                continue
            budget -= test.seconds
            count += 1
            outcome = _play(test, environment, 10 + 8 * test.seconds)
            if outcome != 'passed':
                kills[test.name] = kills.get(test.name, 0) + 1
                return Verdict('killed', f'{test.name} {outcome}', count,
                               round(time.monotonic() - start, 1))
        return Verdict('survived', '', count, round(time.monotonic() - start, 1))

    @staticmethod
    def _distance(test: Test, folders: set) -> int:
        """0 for the program named after a folder of the file, more for programs that
        run the whole."""
        name = Path(test.program).parent.name
        if any(name in folder.lower() for folder in folders):
            return 0
        return 2 if name in ('agent', 'agent_work', 'documents', 'explore') else 1
