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

# Tests of other builds than this one, of the sources' text, or of half a minute.
LEFT_OUT = re.compile(r'^(Headers|Install|Failures)\.|^Soak.NothingGrows')
RANDOM_SECONDS = '3' # of exploration, which CTest gives a minute
LONG = 0.3 # seconds that a test takes by itself
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

    @property
    def gtest_name(self) -> str:
        return next((argument.partition('=')[2] for argument in self.command
                     if argument.startswith('--gtest_filter=')), '')


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


def _run(command, where: str, environment: dict, timeout: float):
    """Runs a command as CTest runs a test: 'passed' or what it was, and its output."""
    with tempfile.TemporaryDirectory(dir=WORK / 'tmp') as folder, \
            open(Path(folder) / 'output', 'w+b') as output:
        process = subprocess.Popen(
            command, cwd=where, stdin=subprocess.DEVNULL, stdout=output,
            stderr=subprocess.DEVNULL, start_new_session=True, preexec_fn=_limits,
            env={**os.environ, 'MCAST_TEST_SEED': '1', 'TMPDIR': folder, **environment})
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
        output.seek(0)
        text = output.read().decode(errors='replace')
    if status is None:
        return 'did not end', text
    return 'passed' if status == 0 else 'failed' if status > 0 else 'crashed', text


def _play(test: Test, environment: dict) -> str:
    """Runs a test in a process of its own."""
    return _run(test.command, test.folder, environment, 10 + 8 * test.seconds)[0]


def _play_together(tests: list, environment: dict):
    """Runs tests of one program in one process, until one does not pass: that one, or
    None."""
    names = {test.gtest_name: test for test in tests}
    command = [tests[0].program, '--gtest_filter=' + ':'.join(names)]
    outcome, text = _run(command, tests[0].folder,
                         {**environment, 'GTEST_FAIL_FAST': '1'},
                         15 + sum(test.seconds for test in tests))
    if outcome == 'passed':
        return None
    for name in [*re.findall(r'^\[  FAILED  \] ([^\s,]+)', text, re.M),
                 *reversed(re.findall(r'^\[ RUN      \] (\S+)', text, re.M))]:
        if name in names:
            return names[name]
    return tests[0]


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
        self._budget = budget # seconds of long tests for one mutant, as without one
        self._progress = progress
        self._kills = {} # by file: how many mutants of it each test has noticed
        (WORK / 'tmp').mkdir(parents=True, exist_ok=True)
        self.broken = []
        self.tests = []
        self._joinable = set()
        self._run_all(list_tests())
        self._find_joinable()

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
            outcome, _ = _run(test.command, test.folder,
                              {'MUTANTS_REACHED': reached.name}, 600)
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
        start = time.monotonic()
        verdict = Verdict('survived', '', 0)

        def notices(test: Test) -> bool:
            verdict.tests += 1
            outcome = _play(test, environment)
            if outcome == 'passed':
                return False
            kills[test.name] = kills.get(test.name, 0) + 1
            verdict.how, verdict.test = 'killed', f'{test.name} {outcome}'
            return True

        # Those that noticed most of the file's other mutants; then the short ones of
        # each program; then the long ones.
        likely = sorted((t for t in tests if t.name in kills),
                        key=lambda t: -kills[t.name])[:3]
        programs = {}
        for test in tests:
            if test.seconds <= LONG and test not in likely:
                programs.setdefault(test.program, []).append(test)
        groups = sorted(programs.values(), key=lambda group: (
            self._distance(group[0], folders), sum(t.seconds for t in group)))
        any(notices(test) for test in likely) \
            or any(self._group_notices(group, environment, notices, verdict)
                   for group in groups) \
            or any(notices(test) for test in self._within_budget(
                sorted((t for t in tests if t.seconds > LONG and t not in likely),
                       key=lambda t: t.seconds)))
        verdict.seconds = round(time.monotonic() - start, 1)
        return verdict

    def _group_notices(self, group, environment, notices, verdict) -> bool:
        """What a test in a process with others says counts only if it says so in one of
        its own."""
        if len(group) > 1 and group[0].program in self._joinable:
            suspect = _play_together(group, environment)
            if suspect is None:
                verdict.tests += len(group)
                return False
            if notices(suspect):
                return True
            group = [test for test in group if test is not suspect]
        return any(notices(test) for test in group)

    def _within_budget(self, tests):
        left = self._budget
        for test in tests:
            left -= test.seconds
            if left >= 0:
                yield test

    def _find_joinable(self) -> None:
        """The programs whose short tests pass in one process, too."""
        programs = {}
        for test in self.tests:
            if test.gtest_name and test.seconds <= LONG:
                programs.setdefault(test.program, []).append(test)
        with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
            failed = pool.map(lambda tests: _play_together(tests, {}),
                              programs.values())
            self._joinable = {program for program, test in zip(programs, failed)
                              if test is None}

    @staticmethod
    def _distance(test: Test, folders: set) -> int:
        """0 for the program named after a folder of the file, more for programs that
        run the whole."""
        name = Path(test.program).parent.name
        if any(name in folder.lower() for folder in folders):
            return 0
        return 2 if name in ('agent', 'agent_work', 'documents', 'explore') else 1
