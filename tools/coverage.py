#!/usr/bin/env python3
"""Tells which lines and branches of the libraries the tests execute.

usage: coverage.py BUILD

BUILD is a folder built with the preset "coverage", whose tests have run. Prints a table
by folder as Markdown, and each line that no test reaches and tools/coverage_left.txt
does not list with a reason; on standard error each line of which a branch is never
taken. Status 1 if there are such lines, if fewer branches are taken than is the goal, or
if an entry of that list is of no use.

The lines are as gcovr counts them. It counts the branches of a template once for each
instantiation in each unit; here they count once, and one is taken if it is in any of
them. The compiler leaves out what it decides itself, so where the instantiations have
differently many on a line, those with the largest share taken stand for it. Lines that
decide nothing in the source have branches too (is a static made already, what is to be
destroyed): those do not count.
"""

import collections
import concurrent.futures
import json
import os
import re
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
LEFT = "tools/coverage_left.txt"
FOLDERS = ["McastVpnLib", "runtime"]
BRANCH_GOAL = 95.0
DECISION = re.compile(r"\b(?:if|while|for|switch|case)\b|&&|\|\||\?")


def measured(build):
    """gcovr's view of the sources."""
    command = ["gcovr", "--root", ROOT, "--json", "-", "--exclude-throw-branches",
               "--exclude-unreachable-branches", "--gcov-ignore-parse-errors",
               "-j", str(os.cpu_count())]
    for folder in FOLDERS:
        command += ["--filter", os.path.join(ROOT, folder) + "/"]
    return json.loads(subprocess.run(command + [build], check=True, cwd=ROOT,
                                     stdout=subprocess.PIPE).stdout)["files"]


def branches_of(counts):
    """Of one unit: (file, line), and for each instantiation whether each branch was
    taken. Those that only an exception takes are left out."""
    shown = subprocess.run(["gcov", "-b", "-t", "--json-format", counts], check=True,
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    found = []
    for text in shown.decode().splitlines():
        unit = json.loads(text)
        for file in unit["files"]:
            name = os.path.relpath(os.path.join(
                unit["current_working_directory"], file["file"]), ROOT)
            if name.split("/")[0] not in FOLDERS:
                continue
            for line in file["lines"]:
                taken = tuple(branch["count"] > 0 for branch in line["branches"]
                              if not branch["throw"])
                if taken:
                    found.append(((name, line["line_number"]), taken))
    return found


def measured_branches(build):
    """(file, line): whether each of its branches was taken."""
    counts = [os.path.join(folder, file) for folder, _, files in os.walk(build)
              for file in files if file.endswith(".gcda")]
    merged = collections.defaultdict(dict) # by how many there are
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for found in pool.map(branches_of, counts):
            for place, taken in found:
                before = merged[place].get(len(taken), taken)
                merged[place][len(taken)] = tuple(
                    one or other for one, other in zip(before, taken))
    return {place: max(of_length.values(),
                       key=lambda taken: (sum(taken) / len(taken), len(taken)))
            for place, of_length in merged.items()}


class Left:
    """What is left on purpose: lines "FILE: CODE", each below its reason ("# ...")."""

    def __init__(self):
        self.reasons = {}
        self.used = set()
        reason = None
        path = os.path.join(ROOT, LEFT)
        for line in open(path) if os.path.exists(path) else []:
            line = line.strip()
            if line.startswith("#"):
                reason = line[1:].strip()
            elif line:
                self.reasons[line] = reason

    def has(self, file, code):
        key = f"{file}: {code}"
        if key in self.reasons:
            self.used.add(key)
        return key in self.reasons

    def unused(self):
        return sorted(set(self.reasons) - self.used)


def main(build):
    left = Left()
    branches = measured_branches(build)
    totals = collections.defaultdict(lambda: [0, 0, 0, 0])  # lines, hit, branches, hit
    missing, half = [], []
    for file in measured(build):
        name = file["file"]
        source = open(os.path.join(ROOT, name)).read().splitlines()
        total = totals["/".join(name.split("/")[:2])]
        for line in file["lines"]:
            if line.get("gcovr/noncode"):
                continue
            number = line["line_number"]
            code = re.sub(r"\s+", " ", source[number - 1].strip())
            total[0] += 1
            total[1] += 1 if line["count"] else 0
            if not line["count"] and not left.has(name, code):
                missing.append(f"{name}:{number}: {code}")
            decides = line["count"] and DECISION.search(code)
            taken = branches.get((name, number), ()) if decides else ()
            total[2] += len(taken)
            total[3] += sum(taken)
            if not all(taken):
                half.append(f"{name}:{number}: {sum(taken)} of {len(taken)}: {code}")

    def percent(part, whole):
        return f"{100 * part / whole:.1f} %" if whole else ""

    print("| folder | lines | executed | branches | taken |")
    print("|---|---|---|---|---|")
    whole = [sum(each[i] for each in totals.values()) for i in range(4)]
    for name, total in [*sorted(totals.items()), ("in all", whole)]:
        print(f"| {name} | {total[0]} | {percent(total[1], total[0])} "
              f"| {total[2]} | {percent(total[3], total[2])} |")
    print(f"\n{len(left.used)} lines are left for the reasons in {LEFT}.")
    for line in half:
        print("branch never taken:", line, file=sys.stderr)
    for line in missing:
        print("never executed, and not listed:", line)
    for line in left.unused():
        print("listed, and executed or gone:", line)
    enough = 100 * whole[3] >= BRANCH_GOAL * whole[2]
    if not enough:
        print(f"fewer than {BRANCH_GOAL} % of the branches are taken")
    return 1 if missing or left.unused() or not enough else 0


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1]))
