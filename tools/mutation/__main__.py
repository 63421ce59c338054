"""Changes the libraries' sources in hundreds of places, one at a time, and tells which
changes the tests do not notice."""

import argparse
import concurrent.futures
import difflib
import json
import sys
import time

import explanations
import mutants
import report
from tree import JOBS, WORK, BuildFailed, Tree
from trials import Trials, Verdict


def parse_arguments():
    parser = argparse.ArgumentParser(prog='tools/mutation', description=__doc__)
    parser.add_argument('--mutants', type=int, default=620, metavar='N',
                        help='how many are switched on in one build (%(default)s)')
    parser.add_argument('--rebuilt', type=int, default=40, metavar='N',
                        help='how many more get a build of their own (%(default)s)')
    parser.add_argument('--seed', type=int, default=1, metavar='N',
                        help='chooses others (%(default)s)')
    parser.add_argument('--budget', type=float, default=20, metavar='SECONDS',
                        help='of long tests for a mutant that no short one notices '
                        '(%(default)s)')
    parser.add_argument('--only', action='append', metavar='TEXT',
                        help='those in files whose names hold this')
    parser.add_argument('--again', action='store_true',
                        help='try those that the last run left, and new ones')
    parser.add_argument('--report', action='store_true',
                        help='print the last results once more, and try none')
    parser.add_argument('--list', action='store_true',
                        help='print which would be tried, and try none')
    parser.add_argument('--show', metavar='ID', help='print one as a difference')
    return parser.parse_args()


_shown = [0.0]


def progress(what: str, count: int, total: int) -> None:
    on_terminal = sys.stderr.isatty()
    now = time.monotonic()
    if count < total and now - _shown[0] < (0.1 if on_terminal else 60):
        return
    _shown[0] = now
    print(f'{what}: {count} of {total}', file=sys.stderr, flush=True,
          end='\n' if count == total or not on_terminal else '   \r')


def choose(tree, options):
    """The mutants of one build, and those that need one each."""
    tree.copy()
    tree.configure()
    sites = [s for s in tree.find_sites()
             if not options.only or any(text in s.file for text in options.only)]
    mutants.number(sites, options.seed)
    together = mutants.choose([s for s in sites if s.form != 'rebuilt'], options.mutants)
    alone = mutants.choose(
        [s for s in sites if s.form == 'rebuilt' and tree.is_cheap(s.file)],
        options.rebuilt)
    return sites, together, alone


def show(tree, site) -> None:
    old = tree.sources[site.file].text
    new = old[:site.start] + site.replacement + old[site.end:]
    sys.stdout.writelines(difflib.unified_diff(
        old.decode().splitlines(True), new.decode().splitlines(True),
        'a/' + site.file, 'b/' + site.file))


def try_all(tree, together, alone, budget, save, known) -> dict:
    """Verdicts by id. Of the known ones, those that were killed count, and others are
    tried last."""
    print('building with all mutants', file=sys.stderr)
    numbered = tree.build_all(list(enumerate(together, 1)))
    trials = Trials(len(together), budget, progress)
    for test in trials.broken:
        print(f'{test.name} fails without a mutant, and is left out', file=sys.stderr)
    verdicts = {s.id: known[s.id] for _, s in numbered if s.id in known}
    left = sorted(((n, s) for n, s in numbered
                   if s.id not in verdicts or verdicts[s.id].how != 'killed'),
                  key=lambda item: item[1].id in known)
    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        tried = {pool.submit(trials.try_mutant, n, s.file): s for n, s in left}
        for count, future in enumerate(concurrent.futures.as_completed(tried), 1):
            verdicts[tried[future].id] = future.result()
            save(verdicts, trials)
            progress('mutants', count, len(tried))
    alone = alone + [s for _, s in numbered
                     if s.evaluated and verdicts[s.id].how == 'unreached']
    for count, site in enumerate(alone, 1):
        if site.id in known and known[site.id].how == 'killed':
            verdicts[site.id] = known[site.id]
            continue
        tree.write([(n, s) for n, s in numbered if not s.is_inside(site)],
                   only=site.file, rebuilt=site)
        if not tree.build():
            near = {n for n, s in numbered if s.file == site.file}
            verdicts[site.id] = trials.try_rebuilt(site.file, near)
        tree.write(numbered, only=site.file)
        save(verdicts, trials)
        progress('mutants with a build of their own', count, len(alone))
    return verdicts


def main() -> int:
    options = parse_arguments()
    start = time.monotonic()
    tree = Tree()
    sites, together, alone = choose(tree, options)
    if options.show:
        for site in sites:
            if site.id == options.show:
                show(tree, site)
        return 0
    if options.list:
        for site in together + alone:
            print(f'{site.id} {site.file}:{site.line} {site.kind}: '
                  f'{site.before} -> {site.after or "nothing"}')
        return 0

    file = WORK / 'results.json'
    last = json.loads(file.read_text()) if file.exists() else {'mutants': []}
    known = {r['id']: Verdict(**r['verdict']) for r in last['mutants']}
    results = {'tests': 0, 'programs': 0, 'places': len(sites), 'minutes': 0}

    def save(verdicts, trials):
        results.update(
            tests=len(trials.tests), programs=len({t.program for t in trials.tests}),
            minutes=round((time.monotonic() - start) / 60),
            mutants=[report.record(s, verdicts[s.id]) for s in together + alone
                     if s.id in verdicts])
        file.write_text(json.dumps(results, indent=1))

    if options.report:
        verdicts, results = known, last
    else:
        verdicts = try_all(
            tree, together, alone, options.budget, save,
            known if options.again else {})
    tried = [(s, verdicts[s.id]) for s in together + alone if s.id in verdicts]
    explained = explanations.Explanations(sites)
    report.write(tried, explained, results)
    return 1 if explained.complain(tried) else 0


if __name__ == '__main__':
    try:
        sys.exit(main())
    except BuildFailed as failure:
        sys.exit(f'the copy in {WORK} cannot be built:\n{failure}')
